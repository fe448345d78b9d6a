#include "app/reading/mimetext.h"

#include "tests/support/testsupport.h"

namespace {

constexpr const char* ALTERNATIVES = "Content-Type: multipart/alternative;\n\tboundary=\"=_b\"\n";

TEST(MimeText, IsWhatAPersonReads) {
    const struct {
        const char *Case, *Header, *Body, *Text;
    } CASES[] = {
        {"no MIME at all", "Subject: x\n",
         "Gr\xFC\xDF"
         "e\n",
         "Grüße\n"},
        {"UTF-8 without a word of it", "", "Grüße\n", "Grüße\n"},
        {"quoted-printable",
         "Content-Type: text/plain; charset=ISO-8859-1\nContent-Transfer-Encoding: Quoted-Printable\n",
         "Gr=FC=\n=DFe = 2=3D2=  \n!=", "Grüße = 2=2!"},
        {"Base64", "Content-Type: TEXT/PLAIN; format=flowed; charset=\"koi8-r\"\nContent-Transfer-Encoding: base64\n",
         "8NLJ\n18XU\n", "Привет"},
        {"careless Base64", "Content-Transfer-Encoding: (so) \"Base64\" (it is)\n", "SGVsbG8=\n", "Hello"},
        {"an unknown charset", "Content-Type: text/plain; charset=x-none\n", "Grüße", "Grüße"},
        {"a page", "Content-Type: text/html\n", "<meta charset=koi8-r><p>\xF0\xD2\xC9</p>", "При\n"},
        {"the plain one of two", ALTERNATIVES,
         "preamble\n--=_b\nContent-Type: text/html\n\n<p>page\n--=_b\nContent-Type: "
         "text/plain\n\nplain\n--=_b--\nepilogue",
         "plain"},
        {"an empty plain one", ALTERNATIVES,
         "--=_b\n\n \n--=_b\nContent-Type: multipart/related; boundary=r\n\n--r\nContent-Type: "
         "text/html\n\n<p>page\n--r\n"
         "Content-Type: image/png\n\nx\n--r--\n--=_b--\n",
         "page\n"},
        {"text, attachment, text", "Content-Type: multipart/mixed; boundary=b\n",
         "--b\n\none\n--bb is no boundary\n--b \nContent-Type: application/pdf; "
         "name=\"=?utf-8?q?=C3=BC.pdf?=\"\n\nJVBE\n--b\n"
         "Content-Disposition: attachment; filename=\"a \\\"b\\\".txt\"\n\nnot shown\n--b\n\ntwo\n--b--\n",
         "one\n--bb is no boundary\n\n[application/pdf ü.pdf]\n\n[text/plain a \"b\".txt]\n\ntwo"},
        {"cut off", "Content-Type: multipart/mixed; boundary=b\n", "--b\nContent-Type: text/plain\n\none\ntw",
         "one\ntw"},
        {"cut off in a part's header", "Content-Type: multipart/mixed; boundary=b\n", "--b\nContent-Type: text/pl", ""},
        {"a forwarded mail", "Content-Type: multipart/mixed; boundary=b\n",
         "--b\n\nsee\n--b\nContent-Type: message/rfc822\n\nSubject: y\nContent-Type: "
         "text/html\n\n<b>inner</b>\n--b--\n",
         "see\n\ninner\n"},
        {"no boundary", "Content-Type: multipart/mixed\n", "as it is", "as it is"},
        {"a boundary that is not there", "Content-Type: multipart/mixed; boundary=b\n", "as it is", "as it is"},
        {"a type that is none", "Content-Type: text\n", "plain", "plain"},
        {"a type that nobody reads", "Content-Type: image/png; name=a.png\n", "\x89PNG", "[image/png a.png]\n"},
    };
    for (const auto& test : CASES)
        EXPECT_EQ(ReadableText(JoinedFields(test.Header), test.Body), test.Text) << test.Case;
    // Which page is shown nobody knows.
    const char* const pages = "--=_b\nContent-Type: text/html\n\none\n--=_b\nContent-Type: text/html\n\ntwo\n--=_b--\n";
    EXPECT_EQ(ReadableText(JoinedFields(ALTERNATIVES), pages, READBY::Filter), "one\ntwo\n");
    EXPECT_EQ(ReadableText(JoinedFields(ALTERNATIVES), pages, READBY::Person), "one\n");
}

TEST(MimeText, ReadsParametersInEachForm) {
    const char* const cases[][2] = {
        {"t/p; a=b", "b"},
        {"t/p; aa=no; x; A = \"b; \\\"c\\\"\" ; a=second", "b; \"c\""},
        {"t/p; a*=utf-8'de'Gr%C3%BC%c3%9fe%zz%4",
         "Gr\xC3\xBC\xC3\x9F"
         "e%zz%4"},
        {"t/p; a=plain; a*=koi8-r''%F0%D2", "\xD0\x9F\xD1\x80"},
        {"t/p; a*1=d; a*0=\"b c\"; a*3=lost", "b cd"},
        {"t/p; a*0*=us-ascii''b%20; a*1=%20; a*2*=%21", "b %20!"},
        {"t/p; a*1=d; a=plain", "plain"},
        {"t/p; a*99999999999=x; a*-1=x; a*x=x; a**=x", ""},
        {"t/p; b=\"; a=c", ""},
        {"t/p", ""},
    };
    for (const auto& [field, value] : cases)
        EXPECT_EQ(HeaderParameter(field, "a"), value) << field;
}

TEST(MimeText, EndsHoweverDeepAMailIs) {
    // Each part is a multipart of the same boundary, a thousand deep, and wide.
    std::string body;
    for (int i = 0; i < 100000; ++i)
        body += "--b\nContent-Type: multipart/mixed; boundary=b\n\n";
    EXPECT_LT(ReadableText("Content-Type: multipart/mixed; boundary=b\n", body).size(), body.size() * 2);
}

}  // namespace
