#include "app/reading/htmltext.h"

#include <algorithm>

#include "corelib/base/ascii.h"
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

// For the filter: v stands for what is seen, x for what is not.
TEST(HtmlText, LeavesOutForTheFilterWhatNobodySees) {
    const char* const CASES[][2] = {
        {"<div style='display : NONE'>x<p>x</div>v", "v"},
        {"<span style=\"color:#fff\">x</span>v<font color=white>x</font>", "v"},
        {"<td bgcolor='#000'><font color=\"#0a0000\">x</font><font color=red>v</font>", "v"},
        {"<body bgcolor=black text=black>x<p style='color:rgb(255, 255, 255)'>v", "v"},
        {"<p style='background:url(x.png)'><b style='color:white'>v</b>", "v"},
        {"<style>.a{background:red}</style><p class=a style='color:white'>v", "v"},
        {"<p style='font-size:0'>x<b style='font-size:12px'>v</b><i style='font-size:120%'>x</i><i "
         "style=font-size:1px>x</i>",
         "v"},
        {"<p style='visibility:hidden'>x<b style='visibility:visible'>v</b>", "v"},
        {"<div style='max-height:0px;overflow:hidden !important'>x</div><div style='max-height:0'>v</div>", "v"},
        {"<i style=opacity:0>x</i><i style='opacity:0.4'>v</i><b hidden>x</b>", "v"},
        // What is not ended is ended by what follows, as in any browser.
        {"<p style='display:none'>x<p>v", "v"},
        {"<p><span style='display:none'>x<div>v</div>", "v"},
        {"<div><b style='display:none'>x</div>v", "v"},
        {"<table><tr><td style='display:none'>x<td>v<tr style='display:none'><td>x<td>x<tr><td>v</table>", "v v"},
        {"<ul><li style='display:none'>x<li>v</ul>", "- v"},
        {"<br style='display:none'>v", "v"},
        {"</p></div></b>v<b style='display:none'>x", "v"},
        {"<dl><dt style='display:none'>x<dd>v</dl>", "v"},
        {"<table><thead style='display:none'><tr><td>x<tbody><tr><td>v</table>", "v"},
        {"<a style='display:none'>x<a href=y>v</a><h1 style='display:none'>x<h2>v", "v  v"},
        {"<param style='display:none'>v<image hidden><object>v</object><select>v</select><!-- x --!>v", "vvvv"},
        // The last word holds, and not every small number is a small size.
        {"<div style='display:none;display:block'>v</div><p hidden style='display:block'>v", "v  v"},
        {"<i style='opacity:0;opacity:1'>v</i><i style='overflow:hidden;width:0;width:auto'>v</i>", "vv"},
        {"<i style=font-size:1pc>v</i><i style='font-size:.5IN'>v</i><i style='font-size:0in'>x</i>", "vv"},
        {"V&#8203;<b></b>v", "V\u200bv"},
        {"<a href='https://u:p@Shop.example:80/?x'>v</a><a href=\"&#104;ttp://shop.example\">v</a><img "
         "src=//pix.example/1>"
         "<a href='mailto:x@y'>v</a><p style='display:none'><a href=http://x.example></p>",
         "vvv  Shop.example pix.example"},
    };
    for (const auto& [html, text] : CASES) {
        std::string read = HtmlText(html, READBY::Filter);
        std::ranges::replace(read, '\n', ' ');
        EXPECT_EQ(ASCII::TrimRight(read, " "), text) << html;
        EXPECT_NE(HtmlText(html).find('v'), std::string::npos);
    }
    // Each element costs the same, however many are open. An end that is not found in time ends what is hidden.
    std::string deep, wide, far = "<div style='display:none'>x";
    for (int i = 0; i < 70; ++i)
        far += "<b>";
    EXPECT_EQ(HtmlText(far + "</div>v", READBY::Filter), "v\n");
    for (int i = 0; i < 30000; ++i) {
        deep += "<div style='display:none'><p>x";
        wide += "<p style='color:red'>v</x>";
    }
    EXPECT_EQ(HtmlText(deep, READBY::Filter), "");
    EXPECT_GT(HtmlText(wide, READBY::Filter).size(), 60000U);
}

TEST(HtmlText, TellsItsCharset) {
    EXPECT_EQ(
        HtmlCharset("<html><meta name=x><META http-equiv=\"Content-Type\" content=\"text/html; charset=koi8-r\">"),
        "koi8-r");
    EXPECT_EQ(HtmlCharset("<meta charset='utf-8' />"), "utf-8");
    EXPECT_EQ(HtmlCharset("<p>charset=x"), "");
}

}  // namespace
