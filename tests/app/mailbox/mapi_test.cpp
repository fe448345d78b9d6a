#include "app/mailbox/mapi.h"

#include <thread>

#include "app/mailbox/listing.h"
#include "app/mailbox/mapistore.h"
#include "tests/app/mailbox/mailboxsupport.h"
#include "tests/servers/mapi/mapitestlibrary.h"

namespace {

/// The handlers over the store of the tests, which must get back all that it has given.
class Mapi : public ::testing::Test {
 protected:
    Mapi() {
        Server.Reset();
        SHRINKABLE::MapiTimes.LookMs = 1;
        SHRINKABLE::MapiTimes.RetryMs = 0;
        Row.StopAsked = [] { return false; };
    }
    ~Mapi() override {
        Server.BlockLogOn(false);
        Close();
        SHRINKABLE::MapiTimes = MAPITIMES();
        EXPECT_EQ(Server.Leftovers(), "");
        EXPECT_EQ(OSYS::GetCurrentDir(), Directory);
    }
    void Open() {
        Store = std::make_unique<MAPISTORE>([this] { ++Changes; });
        Store->SetLibrary(MapiTestLibrary());
        Store->Begin();
    }
    void OpenAndWait() {
        Open();
        ASSERT_TRUE(Eventually([&] { return Changes == 1; }));
    }
    void Close() { Store.reset(); }
    MAILBOXCALL Call() {
        MAILBOXCALL call = Row.Call("", "", "");
        call.Mapi = Store.get();
        return call;
    }
    OUTCOME Get(int bytes = MAPI_BODY_BYTES) {
        STRING result;
        const bool ok = MapiGet(Call(), bytes, result);
        return {ok, Std(result)};
    }
    OUTCOME Delete(const std::string& ids) {
        STRING error;
        const bool ok = MapiDelete(Call(), STRING(ids), error);
        return {ok, Std(error)};
    }
    OUTCOME Move(const std::string& ids, const char* folder) {
        STRING error;
        const bool ok = MapiMove(Call(), STRING(ids), folder, error);
        return {ok, Std(error)};
    }
    /// The ids of a listing, one a line.
    static std::string Ids(const std::string& listing) {
        std::string ids;
        for (size_t at = 0; (at = listing.find("\nMessage-Id: ", at)) != std::string::npos; ++at)
            ids += listing.substr(at + 13, listing.find('\n', at + 1) - at - 13) + "\n";
        return ids;
    }
    static std::string Head(const OUTCOME& outcome) { return outcome.Result.substr(0, outcome.Result.find('\n')); }

    MAPISERVER& Server = MapiServer();
    const STRING Directory = OSYS::GetCurrentDir();
    std::atomic<int> Changes = 0;
    RECORDINGROW Row;
    std::unique_ptr<MAPISTORE> Store;
};

const OUTCOME NO_SESSION = {false, "-ERR <2969>"}, NO_LIST = {false, "-ERR <2970>"};

TEST_F(Mapi, ListsWhatTheStoreHas) {
    OpenAndWait();
    EXPECT_EQ(Get(), (OUTCOME{true, "0 msgs|0 unread|0 bytes\n"}));
    Server.Add({"J\xFCrgen", "j@x.test", "Lena", "Gr\xFC\xDF\x65", "a\r\n.\r\nb", "To: <me@x.test>\r\nCC: c@x.test\r\n",
                true});
    Server.Add({"", "b@x.test", "Lena", "local", "", {}});
    const OUTCOME listed = Get();
    const std::string ids = Ids(listed.Result), first = ids.substr(0, ids.find('\n'));
    const std::string wanted =
        "To: <me@x.test>\nCc: c@x.test\nFrom: Jürgen <j@x.test>\nSubject: Grüße\nMessage-Id: " + first +
        "\nDate: Tue, 03 Mar 2026 05:06:07 +0000\nMime: no\nX-Size: 7\nX-Transport: To: <me@x.test>\\nCC: "
        "c@x.test\\n\nSeen: yes\n\na\n. \nb\1To: Lena<{me}>\nCc: \nFrom:  <b@x.test>\nSubject: local\nMessage-Id: " +
        ids.substr(ids.find('\n') + 1, first.size()) +
        "\nDate: Tue, 03 Mar 2026 05:06:07 +0000\nMime: no\nX-Size: 0\nX-Transport: To: Lena<{me}>\\n\nSeen: no\n\n"
        "<empty>\1";
    EXPECT_EQ(listed, (OUTCOME{true, "2 msgs|1 unread|0 bytes\n" + wanted}));
    EXPECT_EQ(first.substr(0, 8), "6d61696c") << "the bytes of the entry id";
    std::string bare = wanted;
    for (const char* body : {"a\n. \nb\1", "<empty>\1"})
        bare.replace(bare.find(body), strlen(body), "\1");
    EXPECT_EQ(Get(0).Result, "2 msgs|1 unread|0 bytes\n" + bare);
    EXPECT_EQ(Get(MAPICLASS::NO_TEXTS).Result, "2 msgs|1 unread|0 bytes\n");
    EXPECT_EQ(Row.Statuses.back(), "4096 <3000>");
}

TEST_F(Mapi, AsksMessagesForWhatRowsLackOrCut) {
    const std::string subject(300, 's'), body = std::string(255, 'b') + "\xFC end",
                                         line = "X: " + std::string(90, 'x') + "\r\n";
    std::string header;
    while (header.size() < 6000)
        header += line;
    OpenAndWait();
    Server.Add({"Anna", "a@x.test", "Lena", subject, body, header + "To: far@x.test\r\n", true, true, false, true});
    Server.Add({"Anna", "a@x.test", subject, "s", std::string(5000, 'u') + "\xFC", {}});
    Server.Add({"Anna", "a@x.test", "Lena {me}", "gone", "gone", "To: x\r\n", false, true, true});
    Server.Add({"Anna", "a@x.test", "Lena", "no id", "secret", "To: x\r\n", false, false});
    const OUTCOME listed = Get();
    for (const std::string& part : std::initializer_list<std::string>{
             "From: Anna <a@x.test>\nSubject: " + subject + "\n", "\nX-Size: 260\n",
             "Seen: yes\n\n" + std::string(255, 'b') + "ü end\1", std::string("To: far@x.test\nCc: \nFrom"),
             "To: " + subject + "<{me}>\n", "\n\n" + std::string(4096, 'u') + "\1",
             // Gone when it was to be opened, and of no mail of this machine's for that.
             std::string("To: Lena (me)\nCc: \nFrom: Anna <a@x.test>\nSubject: gone\n"),
             std::string("X-Transport: \nSeen: no\n\n<empty>\1"), std::string("Subject: no id\nMessage-Id: \n")})
        EXPECT_NE(listed.Result.find(part), std::string::npos) << part;
    EXPECT_EQ(LISTING::CountBlocks(STRING(listed.Result)), 4);
    EXPECT_EQ(Head(listed), "4 msgs|3 unread|0 bytes");
    const std::string cut = Get(256).Result;
    EXPECT_NE(cut.find("\n\n" + std::string(255, 'b') + "\1"), cut.npos) << "between characters";
    EXPECT_NE(Get(-1).Result.find(std::string(5000, 'u') + "ü\1"), std::string::npos);
}

TEST_F(Mapi, MovesAndDeletes) {
    OpenAndWait();
    for (int i = 0; i < 6; ++i)
        Server.Add({"a", "b", "c", "s", "t", {}});
    ASSERT_TRUE(Eventually([&] { return Changes == 7; }));
    std::string ids = Ids(Get().Result);
    const auto next = [&] {
        const std::string id = ids.substr(0, ids.find('\n') + 1);
        ids.erase(0, id.size());
        return id;
    };
    EXPECT_EQ(Store->FolderNames().size(), 6U);
    EXPECT_EQ(Store->FolderNames().front(), "Archive - Junk") << "in the order of the stores";
    const std::string gone = next();
    EXPECT_EQ(Delete("\n" + gone + "\n"), (OUTCOME{true, "OK"}));
    EXPECT_EQ(Server.Count("Personal/Deleted Items"), 1);
    // What comes after one that has gone stays.
    const std::string kept = next();
    for (const std::string& bad : {gone, std::string("zz"), std::string("6"), std::string("6d6")}) {
        EXPECT_EQ(Delete(bad + "\n" + kept), (OUTCOME{false, "MAPI delete error!"})) << bad;
        EXPECT_EQ(Move(bad + "\n" + kept, "junk"), (OUTCOME{false, "MAPI move error!"})) << bad;
    }
    EXPECT_EQ(Server.Count("Personal/Inbox"), 5);
    const std::tuple<const char*, const char*> moves[] = {{"JUNK", "Archive/Junk"},
                                                          {"Personal - Junk", "Personal/Junk"},
                                                          {"personal - old", "Personal/Old"},
                                                          {"K\xC3\xB6nnte sein", "Archive/K\xF6nnte\nsein "}};
    for (const auto& [folder, wanted] : moves) {
        EXPECT_EQ(Move(next(), folder), (OUTCOME{true, "OK"})) << folder;
        EXPECT_EQ(Server.Count(wanted), 1) << folder;
    }
    EXPECT_EQ(Row.Statuses.back(), "4096 <3005> 1");
    for (const char* folder : {"unk", "Contacts", "", "nowhere"})
        EXPECT_EQ(Move(kept, folder), (OUTCOME{false, std::string("Folder ") + folder + " not found"}));
    EXPECT_EQ(Server.Count("Personal/Inbox"), 1);
    Server.Fail("wastebasket");
    EXPECT_EQ(Delete(kept), (OUTCOME{false, "MAPI delete error!"}));
    EXPECT_EQ(Changes, 7) << "none by itself";
}

TEST_F(Mapi, WithoutASessionThereIsOnlyAText) {
    for (const char* call : {"MAPIInitialize", "MAPILogonEx", "GetMsgStoresTable", "SetColumns", "HrQueryAllRows"}) {
        Server.Fail(call);
        Changes = 0;
        OpenAndWait();
        Server.Fail(nullptr);
        EXPECT_EQ(Get(), NO_SESSION) << call;
        EXPECT_EQ(Delete("00"), (OUTCOME{false, "MAPI delete error!"}));
        EXPECT_EQ(Move("00", "Junk"), (OUTCOME{false, ""}));
        Close();
        EXPECT_EQ(Server.Leftovers(), "") << call;
    }
    for (const char* call : {"OpenMsgStore", "GetReceiveFolder"}) {
        Server.Fail(call);
        Changes = 0;
        OpenAndWait();
        Server.Fail(nullptr);
        EXPECT_EQ(Get(), NO_SESSION) << call;
        EXPECT_EQ(Head(Get()), "0 msgs|0 unread|0 bytes") << "the session was there, and is tried again";
        Close();
    }
    Store = std::make_unique<MAPISTORE>();
    EXPECT_EQ(Get(), NO_SESSION) << "not begun";
    Store->SetLibrary("C:\\none\\mapi32.dll");
    Store->Begin();
    EXPECT_EQ(Get(), NO_SESSION) << "no library";
    // Without its folders and its sink there is still an inbox.
    for (const char* call : {"GetHierarchyTable", "GetProps", "Advise"}) {
        Server.Fail(call);
        Changes = 0;
        OpenAndWait();
        EXPECT_EQ(Head(Get()), "0 msgs|0 unread|0 bytes") << call;
        EXPECT_EQ(Server.Sinks(), std::string(call) == "Advise" ? 0 : 1);
        Close();
        Server.Fail(nullptr);
    }
}

TEST_F(Mapi, ALostSessionIsMadeAnew) {
    OpenAndWait();
    for (int i = 0; i < 10; ++i)
        Server.Add({"a", "b", "c", "s", "t", {}});
    Server.Fail("GetContentsTable");
    EXPECT_EQ(Get(), NO_LIST);
    Server.Fail(nullptr);
    EXPECT_EQ(Head(Get()), "10 msgs|10 unread|0 bytes");
    EXPECT_EQ(Server.LogOns(), 2);
    Server.ShutDownAfter(4);
    EXPECT_EQ(LISTING::CountBlocks(STRING(Get().Result)), 10) << "what the table said of the rest";
    EXPECT_EQ(Get(), NO_LIST);
    EXPECT_EQ(Get(), NO_SESSION);
    Server.ShutDownAfter(-1);
    EXPECT_EQ(Head(Get()), "10 msgs|10 unread|0 bytes");
    EXPECT_EQ(Server.LogOns(), 3);
    const int before = Changes;
    Server.Add({"a", "b", "c", "s", "t", {}});
    EXPECT_TRUE(Eventually([&] { return Changes > before; })) << "the new session tells, too";
}

TEST_F(Mapi, AnInboxThatCannotBeOpenedIsTriedNowAndThen) {
    SHRINKABLE::MapiTimes.RetryMs = 3600000;
    Server.Fail("GetReceiveFolder");
    OpenAndWait();
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(Get(), NO_SESSION);
    EXPECT_EQ(Server.LogOns(), 1);
    SHRINKABLE::MapiTimes.RetryMs = 0;
    EXPECT_EQ(Get(), NO_SESSION);
    EXPECT_EQ(Server.LogOns(), 2);
    Server.Fail(nullptr);
    // The new log-on asks the user for something.
    SHRINKABLE::MapiTimes.LogOnMs = 5;
    Server.BlockLogOn(true);
    EXPECT_EQ(Get(), NO_SESSION);
    EXPECT_TRUE(Server.IsBlocked());
    EXPECT_EQ(Get(), NO_SESSION);
    EXPECT_EQ(Changes, 1);
    Server.BlockLogOn(false);
    EXPECT_TRUE(Eventually([&] { return Changes == 2; })) << "now there is something to check";
    SHRINKABLE::MapiTimes.LogOnMs = 5000;
    EXPECT_EQ(Head(Get()), "0 msgs|0 unread|0 bytes");
}

TEST_F(Mapi, WhatHasNoRoomInAListingIsThereWithoutItsText) {
    OpenAndWait();
    for (int i = 0; i < 6; ++i)
        Server.Add({"a", "b", "c", "mail", std::string(1000, 'b'), "To: x\r\n"});
    SHRINKABLE::MapiTimes.ListingBytes = 2000;
    const OUTCOME listed = Get();
    EXPECT_EQ(Head(listed), "6 msgs|6 unread|0 bytes");
    EXPECT_EQ(LISTING::CountBlocks(STRING(listed.Result)), 6);
    EXPECT_EQ(std::ranges::count(listed.Result, 'b') / 1000, 2);
    EXPECT_NE(listed.Result.find("Seen: no\n\n\1To: c\n"), listed.Result.npos);
    SHRINKABLE::MapiTimes.ListingBytes = 800;
    EXPECT_EQ(Get(), NO_LIST) << "no mail counts as gone";
}

TEST_F(Mapi, FoldersWithoutAnEndAreLookedAtForAWhile) {
    for (const auto& [folders, wanted] : std::map<int, size_t>{{-3, 6}, {2, 4097}, {20000, 4097}}) {
        Server.FoldersBelow(folders);
        Server.FaultAt(-1, MAPIFAULT::FAILS);
        Changes = 0;
        OpenAndWait();
        EXPECT_EQ(Store->FolderNames().size(), wanted) << folders;
        EXPECT_LT(Server.Calls(), 20000) << folders;
        EXPECT_EQ(Head(Get()), "0 msgs|0 unread|0 bytes");
        Close();
    }
}

TEST_F(Mapi, ASinkThatIsToldLateTellsNobody) {
    Server.TellLate(true);
    OpenAndWait();
    Close();
    Changes = 0;
    OpenAndWait();
    Server.TellLate(false);
    EXPECT_EQ(Changes, 1) << "the new session's log-on";
}

// With a fault in every call that there is, one at a time.
TEST_F(Mapi, NoFaultOfAStoreHurts) {
    for (const MAPIFAULT fault : {MAPIFAULT::FAILS, MAPIFAULT::SHUTS_DOWN, MAPIFAULT::WARNS, MAPIFAULT::GIVES_NOTHING,
                                  MAPIFAULT::OTHER_TYPES, MAPIFAULT::NULL_VALUES, MAPIFAULT::OTHER_WIDTHS}) {
        int call = 0, listings = 0, moves = 0;
        for (bool reached = true; reached; ++call) {
            Server.Reset();
            Server.Add({"Anna", "a@x.test", "Lena", std::string(300, 's'), std::string(5000, 'b'), "To: x\r\n"});
            Server.Add({"Anna", "a@x.test", "Lena", "s", "b", {}, false, true, false, true});
            Server.FaultAt(call, fault);
            {
                MAPICLASS mapi(MapiTestLibrary());
                std::vector<std::string> ids;
                if (mapi.IsUpAndRunning())
                    mapi.TraceAllFolders();
                if (mapi.IsUpAndRunning() && mapi.OpenInboxFolder()) {
                    (void)mapi.SetInboxCallback([](void*) {}, this);
                    listings += mapi.GetInboxMessages(4096, [&](const MAPIMESSAGE& mail) {
                        EXPECT_LE(mail.Body.size(), 4096U);
                        ids.push_back(mail.Id);
                        return 4096;
                    });
                    for (size_t i = 0; i < ids.size(); ++i)
                        moves += mapi.MoveInboxMessage(ids[i], i == 0 ? 0 : MAPICLASS::WASTEBASKET);
                    mapi.ReleaseInboxCallback();
                    mapi.CloseInboxFolder();
                }
            }
            EXPECT_EQ(Server.Leftovers(), "") << static_cast<int>(fault) << " in call " << call;
            reached = Server.Calls() > call;
        }
        EXPECT_GT(call, 60);
        EXPECT_GT(listings, 20);
        EXPECT_GT(moves, 5);
    }
    EXPECT_ASSERTIONS(2);  // each store has something else in the place of its folders once
}

TEST_F(Mapi, ALogOnThatStandsStillHoldsNobodyUp) {
    SHRINKABLE::MapiTimes.LogOnMs = 5;
    SHRINKABLE::MapiTimes.LogOffMs = 5;
    Server.BlockLogOn(true);
    Open();
    ASSERT_TRUE(Eventually([&] { return Server.IsBlocked(); }));
    EXPECT_EQ(Get(), NO_SESSION);
    SHRINKABLE::MapiTimes.LogOnMs = 1000000;
    Row.StopAsked = [] { return true; };
    EXPECT_EQ(Get(), NO_SESSION) << "the end of the program";
    Row.StopAsked = [] { return false; };
    Server.BlockLogOn(false);
    EXPECT_EQ(Head(Get()), "0 msgs|0 unread|0 bytes");
    EXPECT_TRUE(Eventually([&] { return Changes == 1; })) << "now there is something to check";
    // Left behind, it ends by itself and tells nobody.
    Close();
    Server.BlockLogOn(true);
    Open();
    ASSERT_TRUE(Eventually([&] { return Server.IsBlocked(); }));
    Close();
    Server.BlockLogOn(false);
    EXPECT_TRUE(Eventually([&] { return Server.LogOns() == 2 && Server.Leftovers().empty(); }));
    EXPECT_EQ(Changes, 1);
}

TEST_F(Mapi, WorkThatNobodyWaitsForHoldsNobodyUp) {
    OpenAndWait();
    SHRINKABLE::MapiTimes.CallMs = 2000;
    std::atomic<bool> begun = false, ends = false, isQueued = false;
    const auto good = [](MAPICLASS&, const STOPQUESTION&) { return true; };
    std::thread first([&] {
        const auto slow = [&](MAPICLASS&, const STOPQUESTION&) {
            begun = true;
            return Eventually([&] { return ends.load(); });
        };
        EXPECT_EQ(Store->Do(MAPISTORE::LISTS, slow, {}), true);
    });
    EXPECT_TRUE(Eventually([&] { return begun.load(); }));
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(Store->Do(MAPISTORE::LISTS, good, [] { return true; }), false);
    std::thread last([&] {
        EXPECT_EQ(Store->Do(MAPISTORE::LISTS, good,
                            [&] {
                                isQueued = true;
                                return false;
                            }),
                  true);
    });
    EXPECT_TRUE(Eventually([&] { return isQueued.load(); }));
    ends = true;
    first.join();
    last.join();
}

TEST_F(Mapi, TheTimeOfAListingGrowsWithTheMailsAndItsMemoryDoesNot) {
    OpenAndWait();
    const auto time = [&](int mails) {
        for (int i = 0; i < mails; ++i)
            Server.Add({"Anna", "a@x.test", "Lena", "s", std::string(2000, 'b'), "To: <me@x.test>\r\n"});
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(Get().Result.size() > 1, true);
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    };
    const double few = time(500), all = time(4500);
    printf("500 mails: %.0f ms, 5000: %.0f ms\n", few * 1000, all * 1000);
    EXPECT_LT(all, 30 * few + 0.5) << "ten times as many";
    const size_t before = Server.MemoryInUse();
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(Head(Get()), "5000 msgs|5000 unread|0 bytes");
    EXPECT_LT(Server.MemoryInUse(), before + (24 << 20)) << "a listing takes 12 MB";
}

}  // namespace
