#include "app/reading/htmltext.h"

#include "tests/support/testsupport.h"

namespace {

TEST(HtmlText, IsWhatAPersonReads) {
    const struct {
        const char *Html, *Text;
    } CASES[] = {
        {"<html><head><title>no</title><style>p{color:red}</style></head><body>Hello\n  <b>there</b></body>",
         "Hello there\n"},
        {"<p>One</p><p>Two<br>Three<br/><br>Four</p>", "One\n\nTwo\nThree\n\nFour\n"},
        {"<div>a</div><div><div>b</div></div>c", "a\nb\nc\n"},
        {"<table><tr><td>a</td><td>b</td></tr><tr><th>c</table>", "a b\nc\n"},
        {"<ul><li>a<li>b</ul>", "- a\n- b\n"},
        {"x<pre> two\n  lines</pre>y", "x\n\n two\n  lines\n\ny\n"},
        {"<script>if (a < b) '</p>';</script>a<SCRIPT src=x></script>b<!-- c > d --->e<!DOCTYPE html>f<?xml?>g",
         "abefg\n"},
        {"<a href=\"http://e.org/?a>b\" title='it\"s'>link</a> <img src=x alt=y>end", "link end\n"},
        {"1 < 2 <3 & <- </ >", "1 < 2 <3 & <- </ >\n"},
        {"&lt;b&gt; &amp;amp; &auml;&Auml;&szlig;&euro;&nbsp;&#8364;&#x20AC;&#128;&hellip; &alpha;&Omega;&sigma;",
         "<b> &amp; äÄß€ €€€… αΩσ\n"},
        {"caf&eacute au&copy &notaname; &; &#; &#x110000;&#xD800;s&shy;o&zwnj;ft", "café au© &notaname; &; &#; soft\n"},
        {"never <b", "never\n"},
        {"never <!-- ended", "never\n"},
        {"never <script>ended", "never\n"},
        {" \n&nbsp;<p>", ""},
        {"", ""},
    };
    for (const auto& test : CASES)
        EXPECT_EQ(HtmlText(test.Html), test.Text) << test.Html;
}

TEST(HtmlText, TellsItsCharset) {
    EXPECT_EQ(
        HtmlCharset("<html><meta name=x><META http-equiv=\"Content-Type\" content=\"text/html; charset=koi8-r\">"),
        "koi8-r");
    EXPECT_EQ(HtmlCharset("<meta charset='utf-8' />"), "utf-8");
    EXPECT_EQ(HtmlCharset("<p>charset=x"), "");
}

}  // namespace
