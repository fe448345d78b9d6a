#pragma once

#include "app/core/tarnwick.h"
#include "tests/app/apptest.h"
#include "tests/app/core/coresupport.h"

/// An application with its data in a directory of the test's, and no work thread.
class APPLICATIONTEST : public ::testing::Test {
 protected:
    APPLICATIONTEST() : Here(Data.Path()) {
        Store.Set("ApplicationDataDir", STRING(Data.Path()));
        EXPECT_TRUE(Application.Open()) << Std(Application.StartError());
    }

    TESTSTORE Store;
    TEMPDIR Data;
    CURRENTDIR Here;
    JOURNAL Journal;
    JOURNALFRONTEND FrontEnd{Journal};
    NOTIFIER Notifier;
    NUMBEREDTEXTS Texts;
    ARGUMENTS Arguments{"tarnwick"};
    TARNWICK Application{FrontEnd, Notifier, Arguments, Texts};
};
