#include "app/filter/learning.h"

#include <random>

#include "app/filter/mailwords.h"
#include "tests/app/filter/fakemx.h"
#include "tests/app/filter/filtertest.h"

namespace {

using STORE = LEARNINGSTORE;
using WORDS = std::vector<std::string>;

std::string Mail(int number, std::string_view subject, std::string_view body) {
    return "From: Ann Lee <ann@a.example>\nMessage-Id: <" + std::to_string(number) +
           "@a.example>\nSubject: " + std::string(subject) + "\nTo: me@here.example\n\n" + std::string(body) + "\n";
}

TEST(MailWords, AreThoseThatTellMails) {
    const auto words = [](const std::string& mail) {
        std::string all;
        for (const std::string& word : MailWords(DECODEDVIEW(mail)))
            all += word + " ";
        return all;
    };
    EXPECT_EQ(
        words("From: =?utf-8?q?J=C3=B6rg?= <joerg@mail.shop.example>\nSubject: Big WIN\nX-SpamPoints: 5\nList-Id: "
              "<news.shop.example>\nX-Mailer: Foo 1.0\nContent-Type: text/plain; boundary=x\n\n"
              "ÄRGER don't, 12.5 $100 a www.x.example. New sentence\n"),
        "h:from f:jörg f:joerg@mail.shop.example f:@mail.shop.example f:@shop.example h:subject s:big s:win h:list-id "
        "l:news.shop.example l:shop.example h:x-mailer m:foo h:content-type c:text c:plain ärger ärger_don't don't "
        "don't_$100 $100 $100_www.x.example www.x.example new new_sentence sentence ");
    // Words of any length, and as many as one likes.
    std::string many = "\n" + std::string(1 << 20, 'x') + " ";
    for (int i = 0; i < 20000; ++i)
        many += "w" + std::to_string(i) + " ";
    EXPECT_EQ(MailWords(DECODEDVIEW(many)).size(), MAILWORDS_MOST);
    // Bytes that would tear the lines of the store, or end its file.
    EXPECT_EQ(words("X-Y\x1A: z\nno field\nContent-Transfer-Encoding: a\rb\nReply-To: a@b\x1A\r.example\n\n"),
              "h:content-transfer-encoding h:reply-to ");
    EXPECT_EQ(MailNumber(DECODEDVIEW(Mail(1, "a", "b"))), MailNumber(DECODEDVIEW("X-Size: 1\n" + Mail(1, "a", "cut"))));
    EXPECT_NE(MailNumber(DECODEDVIEW(Mail(1, "a", "b"))), MailNumber(DECODEDVIEW(Mail(2, "a", "b"))));
    EXPECT_NE(MailNumber(DECODEDVIEW("\na")), MailNumber(DECODEDVIEW("\nb")));
}

TEST(LearningStore, CountsEachMailOnceAndTakesLessonsBack) {
    STORE store;
    const auto counts = [&](const char* word) {
        return std::to_string(store.Find(word).Good) + "/" + std::to_string(store.Find(word).Spam);
    };
    EXPECT_TRUE(store.Learn({"a", "b"}, 1, true, 10));
    for (int i = 0; i < 1000; ++i)
        EXPECT_FALSE(store.Learn({"a", "b"}, 1, true, 10));
    EXPECT_TRUE(store.Learn({"a"}, 2, false, 10));
    EXPECT_EQ(counts("a") + " " + counts("b") + " " + counts("none"), "1/1 0/1 0/0");
    EXPECT_TRUE(store.Learn({"a", "b"}, 1, false, 11));
    EXPECT_EQ(counts("a") + " " + counts("b"), "2/0 1/0");
    EXPECT_EQ(store.Mails().Good, 2U);
    EXPECT_EQ(store.Mails().Spam, 0U);
    EXPECT_EQ(store.Text(), "Tarnwick learnt words, form 1\nmails 2 0\n2 0 11 a\n1 0 11 b\nlessons\ng 1\ng 2\nend 4\n");
}

TEST(LearningStore, ReadsWhatItHasWrittenAndNothingElse) {
    STORE store;
    std::mt19937 random(1);
    for (uint64_t mail = 1; mail <= 300; ++mail) {
        WORDS words{"all"};
        for (int i = 0; i < 50; ++i)
            words.push_back("w" + std::to_string(random() % 2000) + (i % 7 ? "" : "\xC3\xA4"));
        std::ranges::sort(words);
        words.erase(std::unique(words.begin(), words.end()), words.end());
        store.Learn(words, mail * 0x9E3779B97F4A7C15, random() % 2, 20000);
    }
    const std::string text = store.Text();
    STORE again;
    ASSERT_EQ(again.Read(text), STORE::READ::GOOD);
    EXPECT_EQ(again.Text(), text);
    const auto changed = [&](std::string_view from, std::string_view to) {
        std::string other = text;
        return other.replace(other.find(from), from.size(), to);
    };
    const std::string DAMAGED[] = {"",
                                   "something else\n",
                                   text.substr(0, text.size() / 2),
                                   text.substr(0, text.size() - 2),
                                   changed("mails", "males"),
                                   changed(" all\n", "\n"),
                                   changed(" all\n", " all\n1 1 1 all\n"),
                                   changed("20000 ", "70000 "),
                                   changed("\ns ", "\nx "),
                                   changed("\nend ", "\n\nend "),
                                   std::string(text.size(), '\0'),
                                   changed(" all\n", " " + std::string(1 << 20, 'a') + "\n")};
    for (const std::string& other : DAMAGED) {
        EXPECT_EQ(again.Read(other), STORE::READ::DAMAGED) << other.substr(0, 200);
        EXPECT_EQ(again.Words(), 0U);
    }
    EXPECT_EQ(again.Read(changed("form 1", "form 2")), STORE::READ::NEWER);
}

TEST(LearningStore, KeepsItsBounds) {
    STORE store;
    for (uint64_t mail = 0; mail < 300; ++mail) {
        WORDS words{"always"};
        if (mail == 0)
            words.push_back("old");
        for (int i = 0; i < 2999; ++i)
            words.push_back(std::to_string(mail) + "-" + std::to_string(i));
        store.Learn(words, mail + 1, true, static_cast<uint32_t>(mail));
        ASSERT_LE(store.Words(), STORE::WORDS_MOST * 5 / 4 + 3000);
    }
    EXPECT_EQ(store.Find("always").Spam, 300U);
    EXPECT_EQ(store.Find("299-7").Spam, 1U);
    EXPECT_EQ(store.Find("old").Spam, 0U) << "rare and old words go";
    STORE again;
    ASSERT_EQ(again.Read(store.Text()), STORE::READ::GOOD);
    EXPECT_EQ(again.Text(), store.Text());
    for (uint64_t mail = 0; mail < STORE::LESSONS_MOST + 1; ++mail)
        store.Learn({"x"}, mail + 1000, false, 1);
    EXPECT_LT(store.Text().size(), size_t{5} << 20);
}

class Learning : public FILTERTEST {
 protected:
    Learning() {
        State.Set("SpamLearn", "1");
        State.Set("SpamFilename", Dir.File("spamdef.dat"));
        EXPECT_TRUE(STRING("B|60|offer;cheap\nB|60|meeting\n").Save(Dir.File("spamdef.dat").Text(), "w"));
        STRING kept;
        EXPECT_EQ(Lessons.Open(Dir.File("learned.dat"), kept), LEARNING::OPENED::GOOD);
        Spam.SetLearning(&Lessons);
    }
    void TeachMany(int good, int spam) {
        for (int i = 0; i < std::max(good, spam); ++i) {
            if (i < good)
                Lessons.Learn(Mail(i, "minutes", "the committee agenda for thursday"), false);
            if (i < spam)
                Lessons.Learn(Mail(i + 1000, "pills", "order pills without prescription"), true);
        }
    }
    std::string Score(const std::string& mail) {
        const SPAMSCORE score = Spam.SpamFilterMessage(mail.c_str(), &Report, 1, "");
        return std::to_string(score.Result) + " " + std::to_string(score.TotalPoints) + "/" +
               std::to_string(score.Significant);
    }

    TEMPDIR Dir;
    FRONTEND FrontEnd;
    FAKEMXLOOKUP Mx;
    LEARNING Lessons{State};
    SPAMFILTER Spam{State, Texts, FrontEnd, Mx};
    STRING Report;
};

TEST_F(Learning, IsOneGroundBesideOthersAndSavesMail) {
    const std::string spam = Mail(1, "pills", "order pills without prescription"),
                      good = Mail(2, "minutes", "the committee agenda for thursday\noffer cheap meeting"),
                      both = Mail(3, "pills", "order pills without prescription\noffer cheap");
    State.Set("SpamMinWords", "0");
    TeachMany(50, 49);
    EXPECT_EQ(Score(spam), "0 0/0") << "too little is known";
    EXPECT_EQ(Std(Report).find("<10231>"), std::string::npos);
    TeachMany(50, 50);
    const std::string alone = Score(spam);
    EXPECT_TRUE(alone.starts_with("0 ")) << alone;
    EXPECT_TRUE(alone.ends_with("/0")) << alone;
    EXPECT_NE(Std(Report).find(" %)\n"), std::string::npos) << Report.Text();
    State.Set("SpamMinWords", "3");
    EXPECT_TRUE(Score(both).ends_with("/3"));
    EXPECT_GT(Spam.SpamFilterMessage(both.c_str(), nullptr, 1, "").Result, 200);
    EXPECT_LT(Spam.SpamFilterMessage(good.c_str(), nullptr, 1, "").Result, 100) << "180 by the lists";
    // What nobody knows, and random words, are no news.
    EXPECT_EQ(Score(Mail(4, "zzz", "qqq rrr")), "0 0/0");
    std::string page;
    for (int i = 0; i < 5000; ++i)
        page += "random" + std::to_string(i * 7919) + " ";
    EXPECT_TRUE(Score(Mail(5, "pills", "order pills without prescription offer cheap\n" + page)).ends_with("/3"));
    // Taken back one by one.
    TeachMany(0, 0);
    for (int i = 0; i < 50; ++i)
        Lessons.Learn(Mail(i + 1000, "pills", "order pills without prescription"), false);
    EXPECT_EQ(Score(both), "0 120/2");
    State.Set("SpamLearn", "0");
    EXPECT_EQ(Score(both), "0 120/2");
}

TEST_F(Learning, ALessonMakesAnotherBasis) {
    STRINGARRAY item;
    for (const char* key : {"Type", "DoSpamFilter", "@Handle"})
        item.Set(key, "1");
    const auto basis = [&] {
        Spam.SpamFilter(item, "0 msgs\n");
        return Std(Spam.Basis());
    };
    const std::string before = basis();
    EXPECT_EQ(basis(), before);
    Lessons.Teach(Mail(1, "a", "b"), true);
    EXPECT_EQ(basis(), before) << "the work thread has not looked yet";
    Spam.Learn();
    const std::string after = basis();
    EXPECT_NE(after, before);
    Lessons.Teach(Mail(1, "a", "b"), true);
    Spam.Learn();
    EXPECT_EQ(basis(), after) << "learnt before";
    State.Set("SpamLearn", "0");
    Lessons.Teach(Mail(2, "a", "b"), true);
    State.Set("SpamLearn", "1");
    Spam.Learn();
    EXPECT_EQ(basis(), after) << "nobody was to learn from it";
}

TEST_F(Learning, KeepsItsFileWholeAndLeavesForeignOnesAlone) {
    const STRING file = Dir.File("learned.dat");
    STRING kept;
    STRINGARRAY record;
    record.Set("Header", "Message-Id: <7@x>\nSubject: x\n");
    record.Set("Body", "words of a record\n");
    Lessons.Teach(record, true);
    EXPECT_TRUE(Lessons.Close());
    {
        LEARNING again(State);
        EXPECT_EQ(again.Open(file, kept), LEARNING::OPENED::GOOD);
        EXPECT_EQ(again.Mails().Spam, 1U);
        EXPECT_FALSE(again.Learn("Message-Id: <7@x>\nSubject: x\n\nwords of a record\n", true));
    }
    const std::string good = ReadBytes(file);
    for (const bool damaged : {true, false}) {
        const std::string text =
            damaged ? good.substr(0, good.size() / 2) : "Tarnwick learnt words, form 9\nnew things\n";
        EXPECT_TRUE(STRING(std::string_view(text)).Save(file.Text(), "w"));
        LEARNING other(State);
        EXPECT_EQ(other.Open(file, kept), damaged ? LEARNING::OPENED::DAMAGED : LEARNING::OPENED::LEFT_ALONE);
        EXPECT_EQ(other.Learn(Mail(1, "a", "b"), true), damaged);
        EXPECT_EQ(other.Judge(DECODEDVIEW("a")).Kind, LEARNEDVERDICT::SILENT);
        const std::string before = ReadBytes(damaged ? kept : file);
        EXPECT_EQ(other.Close(), damaged);
        EXPECT_EQ(ReadBytes(damaged ? kept : file), before) << "what cannot be read is not written over";
    }
}

}  // namespace
