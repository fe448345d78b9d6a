#pragma once

#include <string>

#include "app/common/texts.h"

/// Numbers of the texts that only the console program shows.
enum CONSOLETEXT : int {
    CTEXT_USAGE = 11000,
    CTEXT_UNKNOWN_SWITCH = 11001,
    CTEXT_SWITCH_VALUE = 11002,
    CTEXT_NO_ACCOUNTS = 11003,
    CTEXT_BAD_ADDRESS = 11004,
    CTEXT_BAD_SCHEME = 11005,
    CTEXT_PASSWORD = 11006,
    CTEXT_NO_PASSWORD = 11007,
    CTEXT_PASSWORD_FILE = 11008,
    CTEXT_ADDED = 11009,
    CTEXT_NOT_SAVED = 11010,
    CTEXT_WATCHING = 11011,
    CTEXT_ENDING = 11012,
    CTEXT_MORE = 11013,
    CTEXT_NOTHING_NEW = 11014,
    CTEXT_COLUMNS = 11015,
    CTEXT_DEMO = 11016,
    CTEXT_DEMO_FAILED = 11017,
    CTEXT_YES_NO = 11018,
    CTEXT_EMPTY = 11019,
    CTEXT_DUPLICATE = 11020,
    CTEXT_DEMO_FOREIGN = 11021,
    CTEXT_FILE_UNREADABLE = 11022,
    CTEXT_NO_MAIL_IN_FILE = 11023,
    CTEXT_POPUP_GONE = 11024,
    CTEXT_ALL_SUSPENDED = 11025,
    CTEXT_HELP_FIRST = 11030,  // one a switch, in the order of the table of switches
};

/// A text in UTF-8, with $1 replaced by `value` (UTF-8 too).
std::string ConsoleText(const TEXTS& texts, int id, const std::string& value = {});
