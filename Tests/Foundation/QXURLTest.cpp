#include "Foundation/QXURL.h"

#include <gtest/gtest.h>

TEST(QXIsAbsoluteURL, AcceptsWhatHasASchemeAndSomethingAfterIt)
{
    for (const char* text : {"file:///a", "file:///a%20b.icc", "https://example.org/?q=1#part", "x-a.b+c:d",
                             "mailto:someone@example.org"}) {
        EXPECT_TRUE(QXIsAbsoluteURL(text)) << text;
    }
}

TEST(QXIsAbsoluteURL, RefusesEverythingElse)
{
    for (const char* text : {"", ":", "file:", ":a", "/usr/share", "a b:c", "1a:b", "file:///a b", "file:///a\n",
                             "file:///\xC3\xA9", "file:///%", "file:///%4", "file:///%4G", "file:///<a>"}) {
        EXPECT_FALSE(QXIsAbsoluteURL(text)) << text;
    }
}

TEST(QXFileURL, EncodesWhatAURLCannotHold)
{
    EXPECT_EQ(QXFileURLFromPath("/home/a/Color Profiles/b%c?#.icc"),
              "file:///home/a/Color%20Profiles/b%25c%3F%23.icc");
    EXPECT_EQ(QXFileURLFromPath("/\xC3\xA9"), "file:///%C3%A9");
}

TEST(QXFileURL, GivesItsPathBack)
{
    for (const char* path : {"/", "/a", "/a b/%41/\xC3\xA9", "/a:b@c&d=e+f,g;h[i]"}) {
        const std::string url = QXFileURLFromPath(path);
        EXPECT_TRUE(QXIsAbsoluteURL(url)) << url;
        EXPECT_EQ(QXPathFromFileURL(url), path);
    }
}

TEST(QXFileURL, MayNameThisMachine)
{
    EXPECT_EQ(QXPathFromFileURL("file://localhost/a%2fb"), "/a/b");
}

TEST(QXFileURL, IsNoPathWhenItIsSomethingElse)
{
    for (const char* url : {"", "https://example.org/a", "file:a", "file://example.org/a", "file:///a?b",
                            "file:///a#b", "file:///a%00b", "file://localhostile/a", "/a"}) {
        EXPECT_EQ(QXPathFromFileURL(url), std::nullopt) << url;
    }
}
