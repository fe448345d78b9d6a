#include "app/demo/samplemail.h"

#include <iterator>
#include <string_view>

#include "corelib/base/clock.h"
#include "corelib/base/strings.h"

namespace {

constexpr const char* TEXT_TYPE = "Content-Type: text/plain; charset=utf-8\nContent-Transfer-Encoding: 8bit\n\n";

struct SAMPLE {
    const char* From;
    const char* Subject;  // as it stands in the header, encoded words and all
    int64_t AgeMinutes;
    const char* Body;            // as the type says, UTF-8 if there is none; lines end in "\n"
    const char* File = nullptr;  // name of what is attached
    int64_t FileKb = 0;
    const char* Type = TEXT_TYPE;  // ends the header
    int Relays = 0;                // lines of its header that tell its way
};

constexpr const char* OWNER = "Alex Demo <alex@example.org>";

// Oldest first.
constexpr SAMPLE SAMPLES[] = {
    {"Marta Lind <marta.lind@example.net>", "Photos from the lake", 30240,
     "Hi Alex,\n\nthe pictures are finally sorted. The one with the dog in the boat\nis going on my wall.\n\nSee you "
     "soon,\n"
     "Marta\n",
     "lake.jpg", 312},
    {"=?ISO-8859-1?Q?J=FCrgen_Wei=DF?= <juergen.weiss@example.com>", "=?ISO-8859-1?Q?R=FCckfrage_zum_Angebot?=", 28800,
     "Hallo Alex,\n\nkannst du mir bis Freitag sagen, ob wir mit 12 oder 14 Stück rechnen?\n\nGruß\nJürgen\n"},
    {"Harbour Library <notices@library.example.org>", "Two of your loans are due on Friday", 27360,
     "Dear reader,\n\nthese loans are due on Friday:\n  - A Field Guide to Clouds\n  - Bread, a History\n\n"
     "You can renew them at the desk or by phone.\n"},
    {"Best Meds Direct <offer8812@pills.example>", "CHEAP PILLS NO PRESCRIPTION !!!", 26000,
     "Order now and save 80% !\nNo prescription required, discreet shipping worldwide.\nClick here to order: "
     "http://pills.example/a81\nTo be removed click here.\n"},
    {"Tom Okafor <tom@example.net>", "Re: climbing on Sunday?", 25920,
     "> Are you in for Sunday?\n\nYes, if the weather holds. I bring the ropes.\n\nTom\n"},
    {"Blue Kettle Coffee <orders@bluekettle.example>", "Your order 20417 has been shipped", 23040,
     "Hello Alex,\n\nyour order 20417 (2 x 500 g house blend) left us this morning.\nYou find the invoice in your "
     "customer "
     "account.\n\nBlue Kettle Coffee\n"},
    {"Stadtwerke Beispielhausen <service@stadtwerke.example>", "Ihre Abschlagsrechnung", 21600,
     "Guten Tag,\n\nIhre neue Abschlagsrechnung liegt im Kundenportal bereit.\nDer Betrag wird am 15. abgebucht.\n\n"
     "Ihre Stadtwerke\n",
     "Abschlagsrechnung.pdf", 58},
    {"PRIZE OFFICE <claims4471@lotto.example>", "YOU HAVE WON 1,500,000 EURO", 20500,
     "CONGRATULATIONS!\nYour e-mail address has won the sum of 1,500,000.00 EURO in our international lottery.\n"
     "To claim your prize send your full name, address and bank details to our agent.\nKeep this confidential.\n"},
    {"Nadia Petrov <nadia@example.com>", "Draft of the flyer", 20160,
     "Hello,\n\nattached is the second draft. The map is still missing.\nWhat do you think of the green?\n\nNadia\n",
     "flyer-2.pdf", 96},
    {"Gardeners' Monthly <news@gardeners.example>", "What to sow this month", 18720,
     "In this issue: early peas, pruning without fear, and a letter from a reader\nwho grows figs in the north.\n\n"
     "You receive this because you subscribed. Unsubscribe at any time in your profile.\n",
     "figs.jpg", 38},
    {"Oma Hilde <hilde@example.net>", "=?UTF-8?B?R3LDvMOfZSBhdXMgZGVtIFNjaHdhcnp3YWxk?=", 17280,
     "Mein lieber Alex,\n\nhier liegt noch Schnee! Die Katze will nicht vor die Tür.\nRuf doch mal an.\n\nDeine Oma\n",
     "Schnee.jpg", 124},
    {"Account Security <security-alert@bank-verify.example>", "Your account has been suspended", 16900,
     "Dear customer,\n\nwe noticed unusual activity in your account. Your account has been suspended.\nVerify your "
     "identity within 24 hours: http://bank-verify.example/login\nOtherwise your account will be closed.\n"},
    {"Sven Aalto <sven.aalto@example.org>", "Minutes of Tuesday's meeting", 15840,
     "All,\n\nthe minutes are on the shared drive. Open points:\n 1. room for the spring fair (Nadia)\n 2. insurance "
     "(Sven)\n 3. tea (everybody)\n\nSven\n",
     "minutes.pdf", 24},
    {"Train Club <info@trainclub.example>", "Your booking 7KQ2: seat 61, coach 4", 14400,
     "Good morning,\n\nyour seat is booked. Departure 08:12, platform 5.\nPlease have your ticket ready.\n",
     "ticket-7KQ2.pdf", 71},
    {"Crypto Wealth Team <invest@coin.example>", "Double your bitcoin in 7 days - guaranteed", 14000,
     "Make money fast from home! Our trading robot doubles your bitcoin in 7 days, guaranteed.\nNo risk. Limited time "
     "offer.\nInvest now: http://coin.example/start\n"},
    {"Ines Duarte <ines@example.com>", "Re: Draft of the flyer", 12960,
     "The green is good, but the date is wrong: it is the 21st.\n\nInes\n"},
    {"Dr. Brandt <praxis@brandt.example>", "Erinnerung an Ihren Termin", 12500,
     "Guten Tag,\n\nwir erinnern an Ihren Termin am Donnerstag um 9:30 Uhr.\nBitte bringen Sie Ihre Karte mit.\n\n"
     "Praxis Dr. Brandt\n"},
    {"Chess Circle <list@chess.example.org>", "[chess] Pairings for round 5", 11520,
     "Board 1: Aalto - Demo\nBoard 2: Okafor - Lind\nBoard 3: bye for Petrov\n\nStart at 19:00 as always.\n"},
    {"Paket Service <zustellung@paket-info.example>",
     "=?UTF-8?B?SWhyIFBha2V0IGtvbm50ZSBuaWNodCB6dWdlc3RlbGx0IHdlcmRlbg==?=", 11000,
     "Sehr geehrter Kunde,\n\nIhr Paket konnte nicht zugestellt werden. Bitte zahlen Sie die Zollgebühr von 1,99 EUR, "
     "um\n"
     "die Zustellung freizugeben: http://paket-info.example/zoll\n\nKlicken Sie hier innerhalb von 24 Stunden.\n"},
    {"Marta Lind <marta.lind@example.net>", "Birthday on Saturday", 10080,
     "Dinner at ours, seven o'clock, no presents please (cake is not a present).\n\nMarta\n"},
    {"Bike Works <workshop@bikeworks.example>", "Your bicycle is ready", 8640,
     "Hello,\n\nnew brake pads, new chain, 84 euros. We are open until six.\n\nBike Works\n"},
    {"Mr. Emeka Johnson <emeka99213@fund.example>", "URGENT BUSINESS PROPOSAL", 8500,
     "Dear friend,\n\nI am the attorney of a late customer who left 18.5 million US dollars with our bank.\nI seek "
     "your "
     "assistance to transfer the funds out of the country. You will receive 30 percent.\nReply urgently and in strict "
     "confidence.\n"},
    {"Tom Okafor <tom@example.net>", "Rope", 7200, "Found it. It was in the car the whole time.\n\nT.\n"},
    {"City Choir <choir@example.org>", "Rehearsal moved to room B", 6480,
     "Dear all,\n\nthe heating in room A has given up. We meet in room B until further notice.\nBring a pencil.\n"},
    {"Bookbinders' Shop <service@bookbinders.example>", "Invoice 2291", 5760,
     "Dear customer,\n\nplease find the details of invoice 2291 below.\n  1 x repair of spine    38.00\nPayable within "
     "14 "
     "days. Thank you!\n",
     "invoice-2291.pdf", 42},
    {"Online Casino <bonus5512@casino.example>", "500 free spins waiting for you !!", 5600,
     "Welcome bonus: 500 free spins and 200% on your first deposit!\nPlay now: http://casino.example/spin\nUnsubscribe "
     "here\n"},
    {"Nadia Petrov <nadia@example.com>", "=?ISO-8859-1?Q?Caf=E9_on_Thursday=3F?=", 5040,
     "The one by the station has good cake again.\n\nNadia\n"},
    {"Ines Duarte <ines@example.com>", "Lost umbrella", 4320,
     "Did anybody see a dark blue umbrella after the meeting? It has a wooden handle.\n\nInes\n"},
    {"Replica Store <sale77120@watches.example>", "Luxury replica watches 90% off", 4200,
     "Exact copies of famous Swiss brands, from $149!\nFree shipping, money back guarantee.\nClick here: "
     "http://watches.example\n"},
    {"Weather Friends <daily@weather.example>", "Your weather for the week", 2880,
     "Mon 4 C rain\nTue 6 C clouds\nWed 9 C sun\nThu 9 C sun\nFri 5 C wind\n"},
    {"=?ISO-8859-1?Q?J=FCrgen_Wei=DF?= <juergen.weiss@example.com>",
     "=?ISO-8859-1?Q?Re=3A_R=FCckfrage_zum_Angebot?=", 2700, "14 sind bestellt. Danke!\n\nJürgen\n"},
    {"IT Helpdesk <admin@mailbox-quota.example>", "Your mailbox is almost full", 2400,
     "Dear user,\n\nyour mailbox has exceeded its storage limit. You will not be able to receive new mail.\nClick here "
     "to "
     "verify your account and increase your quota: http://mailbox-quota.example\n"},
    {"Sven Aalto <sven.aalto@example.org>", "Keys", 2160,
     "The keys to the hall are with the caretaker until Monday.\n\nSven\n"},
    {"=?UTF-8?B?zp3Or866zr/PgiDOoM6xz4DPgM6sz4I=?= <nikos@example.org>",
     "=?UTF-8?B?zprOsc67zr/Ous6xzq/Pgc4=?=\n =?UTF-8?B?uSDPg8+Ezrcgzp3OrM6+zr8=?=", 2050,
     "Γεια σου Άλεξ,\n\nτο σπίτι στη Νάξο είναι ελεύθερο τον Ιούλιο. Θα έρθετε;\n\nΝίκος\n"},
    {"Work From Home <jobs3381@income.example>", "Earn $5000 a week from home", 1900,
     "No experience needed! Earn 5000 dollars a week from home with our proven system.\nLimited places. Act now!\n"
     "http://income.example/join\n"},
    {"Harbour Library <notices@library.example.org>", "A book that you reserved has come in", 1500,
     "Dear reader,\n\n\"The Lighthouse Keepers\" is waiting for you at the desk until Saturday.\n"},
    {"=?KOI8-R?Q?=EF=CC=D8=C7=C1_=F7=C5=D4=D2=CF=D7=C1?= <olga@example.com>",
     "=?KOI8-R?Q?=E2=C9=CC=C5=D4=D9_=D7_=D4=C5=C1=D4=D2?=", 1320,
     "8NLJ18XULCDhzMXL0yEKCvEg19rRzMEg1NLJIMLJzMXUwSDOwSDT1cLCz9TVLCDOwd7BzM8g1yDT\nxc3YLgr309TSxdTJzdPRINUg18jPxME/"
     "CgrvzNjHwQo=\n",
     nullptr, 0, "Content-Type: text/plain; charset=koi8-r\nContent-Transfer-Encoding: base64\n\n"},
    {"Blue Kettle Coffee <news@bluekettle.example>", "A new roast, and a short farewell", 1200,
     "The winter roast leaves, the spring roast arrives: lighter, with a little apricot.\n\nYou get this letter "
     "because you "
     "asked for it in our shop.\n",
     "roast.jpg", 33},
    {"=?ISO-2022-JP?B?GyRCOjRGIzJWO1IbKEI=?= <hanako@example.net>",
     "=?ISO-2022-JP?B?GyRCNX5FVCROPEw/PyRyGyhC?=\n =?ISO-2022-JP?B?GyRCQXckaiReJDkbKEI=?=", 1020,
     "\033$B%\"%l%C%/%9$5$s!\"$3$s$K$A$O!#\033(B\n\n\033$B:y$N<L\?\?$rMh=5Aw$j$^$9!#\033(B\n\033$B$^$\?F|K\\$KMh$F$/"
     "$@$5$$$M!#\033(B\n\n\033$B2V;R\033(B\n",
     nullptr, 0, "Content-Type: text/plain; charset=iso-2022-jp\nContent-Transfer-Encoding: 7bit\n\n"},
    {"Café Kranich <cafe@kranich.example>",
     "=?UTF-8?Q?Fr=C3?=\n =?UTF-8?Q?=BChlingsfest_im_Caf=C3=A9_Gr=C3=B6=C3=9Fenwahn?=", 960,
     "--alternative\nContent-Type: text/plain; charset=utf-8\nContent-Transfer-Encoding: quoted-printable\n\nLiebe "
     "G=C3=A4ste,\n\nam Samstag feiern wir den Fr=C3=BChling: Kuchen, Musik und die ersten =\nTische "
     "drau=C3=9Fen.\n\nIhr Caf=C3=A9 Kranich\n--alternative\nContent-Type: text/html; "
     "charset=utf-8\nContent-Transfer-Encoding: quoted-printable\n\n<html><body><p>Liebe G=C3=A4ste,</p><p>am "
     "<b>Samstag</b> feiern wir den Fr=C3=BChling:</p>\n<ul><li>Kuchen</li><li>Musik</li><li>die ersten Tische "
     "drau=C3=9Fen</li></ul>\n<p>Ihr Caf=C3=A9 Kranich</p></body></html>\n--alternative--\n",
     nullptr, 0, "Content-Type: multipart/alternative; boundary=\"alternative\"\n\n"},
    {"Marta Lind <marta.lind@example.net>", "Re: Birthday on Saturday", 900,
     "Yes, of course you can bring him!\n\nMarta\n"},
    {"=?GB2312?B?wO7D9w==?= <liming@example.com>", "=?GB2312?B?1tzEqdK7xvC6yLLowvCjvw==?=", 720,
     "xOO6w6OsCgrQx8bazOzPws7nyP2149TawM+y6LndvPujrLrDwvCjvwoKwO7D9wo=\n", nullptr, 0,
     "Content-Type: text/plain; charset=gb2312\nContent-Transfer-Encoding: base64\n\n"},
    {"Chess Circle <list@chess.example.org>", "[chess] Results of round 5", 600,
     "Aalto - Demo 0:1\nOkafor - Lind 1/2\n\nWell played, Alex.\n"},
    {"דנה לוי <dana@example.net>", "המתכון שביקשת", 500,
     "שלום אלכס,\n\nשלוש ביצים, כוס סוכר, שתי כוסות קמח. לאפות חצי שעה.\n\nדנה\n"},
    {"Steuerhilfe <rueckzahlung@finanz-portal.example>", "=?ISO-8859-1?Q?Steuerr=FCckzahlung_von_428,70_EUR?=", 420,
     "Sehr geehrte Damen und Herren,\n\nSie haben Anspruch auf eine Rückzahlung von 428,70 EUR. Bestätigen Sie Ihre "
     "Kontodaten:\nhttp://finanz-portal.example/erstattung\n"},
    {"Tom Okafor <tom@example.net>", "Sunday it is", 95, "Forecast is fine. Eight o'clock at the bridge?\n\nTom\n"},
    {"Riverside Cinema <programme@cinema.example>", "This week at the Riverside", 60,
     "<html><head><title>Programme</title><style>td { padding: 4px }</style></head>\n<body><h2>This week at the "
     "Riverside</h2>\n<table>\n<tr><td>Thu</td><td>20:00</td><td>Les Enfants de "
     "l=27=E9t=E9</td></tr>\n<tr><td>Fri</td><td>18:30</td><td>The Ferryman&rsquo;s "
     "Song</td></tr>\n<tr><td>Sat</td><td>21:15</td><td>Night Train to Z=FCrich</td></tr>\n</table>\n<p>Tickets from "
     "6&nbsp;&euro;, <a href=3D\"http://cinema.example/\">at the desk</a>.</p></body></html>\n",
     nullptr, 0, "Content-Type: text/html; charset=iso-8859-1\nContent-Transfer-Encoding: quoted-printable\n\n"},
    {"\"Okafor, Tom (mountain\n guides' office)\" <tom@example.net>",
     "Route description for Sunday, with the detour over the old\n bridge and the times of the last bus", 40,
     "Start at the bridge, follow the river for 4 km, then left at the chapel.\nThe last bus leaves at 18:40.\n\nTom\n",
     nullptr, 0, TEXT_TYPE, 12},
    {"Ines Duarte <ines@example.com>", "Umbrella found!", 25, "It was on my own coat hook. Sorry, everyone.\n\nInes\n"},
};

constexpr SAMPLE ARRIVING[] = {
    {"Nadia Petrov <nadia@example.com>", "Quick question about the flyer", 0,
     "Do we print the map in colour?\n\nNadia\n"},
    {"Weather Friends <daily@weather.example>", "Warning: wind this afternoon", 0,
     "Gusts of up to 80 km/h from three o'clock.\n"},
    {"Super Deals <deals9921@offers.example>", "ACT NOW - 90% OFF EVERYTHING !!!", 0,
     "Limited time offer! Click here and save 90% !\nhttp://offers.example\n"},
    {"Tom Okafor <tom@example.net>", "Running late", 0, "Ten minutes. Start without me.\n\nTom\n"},
    {"Bike Works <workshop@bikeworks.example>", "Did everything work out?", 0,
     "Hello,\n\nif the brakes squeak, bring the bicycle by and we look at it.\n\nBike Works\n"},
    {"=?ISO-8859-1?Q?J=FCrgen_Wei=DF?= <juergen.weiss@example.com>", "=?ISO-8859-1?Q?Gr=FC=DFe_aus_Wien?=", 0,
     "Schönes Wetter, guter Kuchen.\n\nJürgen\n"},
};

// They come all at once.
constexpr SAMPLE SPAM_BURST[] = {
    {"Casino Bonus <win777@spins.example>", "You have won !!! Claim your casino bonus now", 0,
     "CONGRATULATIONS!\nYou have won 500 free spins in our online casino.\nClick here to claim your prize today.\n"},
    {"Lowest Meds <pills4you9@meds.example>", "CHEAP PILLS, NO PRESCRIPTION !!!", 0,
     "Order viagra now and save 80% !\nNo prescription required.\nClick here to order.\nTo be removed click here.\n"},
    {"Account Security <alert@bank-check.example>", "Your account has been suspended", 0,
     "Dear customer,\n\nwe noticed unusual activity. Your account has been suspended.\nPlease verify your account "
     "within "
     "24 hours: click here\n"},
};

const char* const WEEKDAYS[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
const char* const MONTHS[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

// A date as in a mail's header (RFC 5322), in universal time.
STRING HeaderDate(int64_t unixSeconds) {
    const int64_t days = unixSeconds / 86400, rest = unixSeconds % 86400;
    // Days since 0000-03-01 make months of a regular pattern.
    const int64_t shifted = days + 719468, era = shifted / 146097, ofEra = shifted % 146097;
    const int64_t yearOfEra = (ofEra - ofEra / 1460 + ofEra / 36524 - ofEra / 146096) / 365;
    const int64_t dayOfYear = ofEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const int64_t monthFromMarch = (5 * dayOfYear + 2) / 153;
    const auto day = static_cast<int>(dayOfYear - (153 * monthFromMarch + 2) / 5 + 1);
    const auto month = static_cast<int>(monthFromMarch < 10 ? monthFromMarch + 2 : monthFromMarch - 10);
    const auto year = static_cast<int>(yearOfEra + era * 400 + (month < 2 ? 1 : 0));
    STRING text;
    text.Format("%s, %d %s %d %02d:%02d:%02d +0000", WEEKDAYS[(days + 4) % 7], day, MONTHS[month], year,
                static_cast<int>(rest / 3600), static_cast<int>(rest / 60 % 60), static_cast<int>(rest % 60));
    return text;
}

// Lines of Base64 that no program can make a picture of: what counts is that they are there.
std::string FileContent(int64_t kilobytes) {
    constexpr std::string_view ALPHABET = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    constexpr size_t LINE = 76;
    std::string content;
    const auto size = static_cast<size_t>(kilobytes) * 1024;
    for (uint32_t state = 1; content.size() < size;) {
        for (size_t i = 0; i < LINE; ++i) {
            state = state * 1664525U + 1013904223U;
            content += ALPHABET[state >> 26U];
        }
        content += '\n';
    }
    return content;
}

// What the relays on its way have put on top of a mail, folded as they like.
std::string Way(int relays, const STRING& date) {
    STRING lines("");
    for (int i = relays; i > 0; --i)
        lines.AppendFormat(
            "Received: from relay%d.mail.example (relay%d.mail.example [192.0.2.%d])\n\tby relay%d.mail.example with "
            "ESMTP id %06X\n        for <alex@example.org>; %s\n",
            i, i, i, i + 1, 0x37A81F / i, date.Text());
    return std::string(lines.View());
}

std::string Compose(const SAMPLE& sample, const char* idPrefix, int number, int64_t now) {
    STRING header;
    header.Format("From: %s\nTo: %s\nSubject: %s\nDate: %s\nMessage-Id: <%s-%d@demo.example>\nMIME-Version: 1.0\n",
                  sample.From, OWNER, sample.Subject, HeaderDate(now - 60 * sample.AgeMinutes).Text(), idPrefix,
                  number);
    std::string text = Way(sample.Relays, HeaderDate(now - 60 * sample.AgeMinutes));
    text.append(header.View());
    if (sample.File) {
        const bool pdf = std::string_view(sample.File).ends_with(".pdf");
        text.append("Content-Type: multipart/mixed; boundary=part\n\n--part\n").append(TEXT_TYPE).append(sample.Body);
        text.append("\n--part\nContent-Type: ").append(pdf ? "application/pdf" : "image/jpeg");
        text.append("; name=").append(sample.File).append("\nContent-Transfer-Encoding: base64\n\n");
        text.append(FileContent(sample.FileKb)).append("--part--\n");
    } else {
        text.append(sample.Type).append(sample.Body);
    }
    std::string result;
    for (char c : text) {
        if (c == '\n')
            result += '\r';
        result += c;
    }
    return result;
}

}  // namespace

int SampleMailCount() {
    return static_cast<int>(std::size(SAMPLES));
}

std::string SampleMail(int index, int64_t now) {
    return Compose(SAMPLES[index], "sample", index, now);
}

std::string ArrivingMail(int number, int64_t now) {
    return Compose(ARRIVING[static_cast<size_t>(number) % std::size(ARRIVING)], "arriving", number, now);
}

int SpamBurstCount() {
    return static_cast<int>(std::size(SPAM_BURST));
}

std::string SpamBurstMail(int number, int64_t now) {
    return Compose(SPAM_BURST[static_cast<size_t>(number) % std::size(SPAM_BURST)], "burst", number, now);
}
