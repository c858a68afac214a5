#include "Shell/QXAppcast.h"

#include <gtest/gtest.h>

namespace {

std::string feedOf(const std::string& items)
{
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
           "<rss version=\"2.0\" xmlns:sparkle=\"http://www.andymatuschak.org/xml-namespaces/sparkle\">\n"
           "<channel>\n<title>Changes</title>\n"
           + items + "</channel>\n</rss>\n";
}

// The one item of a feed with it.
QXAppcastItem itemOf(const std::string& properties)
{
    const auto items = QXAppcastItemsFromText(feedOf("<item>" + properties + "</item>"));
    EXPECT_TRUE(items.has_value()) << items.error();
    EXPECT_EQ(items.value_or(std::vector<QXAppcastItem>()).size(), 1U);
    return items->at(0);
}

std::string errorOf(const std::string& text)
{
    const auto items = QXAppcastItemsFromText(text);
    return items ? "none" : items.error();
}

TEST(QXAppcast, ReadsEveryProperty)
{
    const QXAppcastItem item = itemOf(R"(
        <title>Version 1.2</title>
        <link> https://www.example.org/download </link>
        <sparkle:version>340</sparkle:version>
        <sparkle:shortVersionString>1.2</sparkle:shortVersionString>
        <sparkle:minimumSystemVersion>12.0</sparkle:minimumSystemVersion>
        <sparkle:releaseNotesLink>https://www.example.org/notes.html</sparkle:releaseNotesLink>
        <sparkle:channel>beta</sparkle:channel>
        <sparkle:criticalUpdate/>
        <description><![CDATA[<p>Better & faster</p>]]></description>
        <pubDate>Sat, 21 Nov 2026 12:00:00 +0000</pubDate>
        <enclosure url="https://www.example.org/a.deb?x=1&amp;y=2" length="1234" sparkle:os="linux"
                   sparkle:edSignature='c2ln' type="application/octet-stream"/>)");
    EXPECT_EQ(item.version, "340");
    EXPECT_EQ(item.shortVersion, "1.2");
    EXPECT_EQ(item.minimumSystemVersion, "12.0");
    EXPECT_EQ(item.releaseNotesURL, "https://www.example.org/notes.html");
    EXPECT_EQ(item.releaseNotes, "<p>Better & faster</p>");
    EXPECT_EQ(item.downloadPage, "https://www.example.org/download");
    EXPECT_EQ(item.channel, "beta");
    EXPECT_TRUE(item.isCritical);
    ASSERT_EQ(item.enclosures.size(), 1U);
    EXPECT_EQ(item.enclosures[0].url, "https://www.example.org/a.deb?x=1&y=2");
    EXPECT_EQ(item.enclosures[0].operatingSystem, "linux");
    EXPECT_EQ(item.enclosures[0].edSignature, "c2ln");
    EXPECT_EQ(item.enclosures[0].length, 1234U);
}

TEST(QXAppcast, LeavesEmptyWhatIsNotTold)
{
    const QXAppcastItem item = itemOf("<sparkle:version>340</sparkle:version>");
    EXPECT_EQ(item.shortVersion, "340");
    EXPECT_EQ(item.releaseNotes, "");
    EXPECT_FALSE(item.isCritical);
    EXPECT_TRUE(item.enclosures.empty());
}

TEST(QXAppcast, TakesTheVersionOfOlderFeedsFromTheEnclosure)
{
    const QXAppcastItem item = itemOf(
        R"(<enclosure url="u" sparkle:version="340" sparkle:shortVersionString="1.2" length="many"></enclosure>)");
    EXPECT_EQ(item.version, "340");
    EXPECT_EQ(item.shortVersion, "1.2");
    EXPECT_EQ(item.enclosures.at(0).length, 0U);
}

TEST(QXAppcast, ReadsDescriptionsThatAreEscaped)
{
    const QXAppcastItem item =
        itemOf("<sparkle:version>1</sparkle:version><description>&lt;b&gt;x&lt;/b&gt;</description>");
    EXPECT_EQ(item.releaseNotes, "<b>x</b>");
}

TEST(QXAppcast, LeavesOutItemsWithoutAVersionAndKeepsTheOrderOfTheOthers)
{
    const auto items = QXAppcastItemsFromText(
        feedOf("<item><title>News</title></item><item><sparkle:version>2</sparkle:version></item>"
               "<!-- older --><item><sparkle:version>1</sparkle:version></item>"));
    ASSERT_TRUE(items.has_value());
    ASSERT_EQ(items->size(), 2U);
    EXPECT_EQ(items->at(0).version, "2");
    EXPECT_EQ(items->at(1).version, "1");
}

TEST(QXAppcast, SkipsElementsThatItDoesNotKnowWithAllThatIsInThem)
{
    const QXAppcastItem item =
        itemOf("<sparkle:deltas><enclosure sparkle:version=\"9\"/><a><b>text</b><!-- </a> -->"
               "<![CDATA[</a>]]></a></sparkle:deltas><sparkle:version>1</sparkle:version>");
    EXPECT_EQ(item.version, "1");
    EXPECT_TRUE(item.enclosures.empty());
}

TEST(QXAppcast, FeedWithoutItemsHasNone)
{
    EXPECT_TRUE(QXAppcastItemsFromText(feedOf(""))->empty());
    EXPECT_TRUE(QXAppcastItemsFromText("<rss/>")->empty());
}

TEST(QXAppcast, WhatIsNoFeedIsAnError)
{
    EXPECT_EQ(errorOf(""), "line 1: the file ends too early");
    EXPECT_EQ(errorOf("<html></html>"), "line 1: \"html\" where an update feed has \"rss\"");
    EXPECT_EQ(errorOf("{\"version\": 1}"), "line 1: \"{\"version\": 1}\" where an element is expected");
}

TEST(QXAppcast, BrokenFeedIsAnErrorWithItsLine)
{
    EXPECT_EQ(errorOf("<rss>\n<channel>\n<item>"), "line 3: the file ends too early");
    EXPECT_EQ(errorOf("<rss>\n<channel></rss>"), "line 2: an end tag of another element");
    EXPECT_EQ(errorOf("<rss>\n<a><b></a></b></rss>"), "line 2: an end tag of another element");
    EXPECT_EQ(errorOf("<rss>\n<a><b></rss>"), "line 2: an end tag of another element");
    EXPECT_EQ(errorOf("<rss><a>"), "line 1: the file ends too early");
    EXPECT_EQ(errorOf("<rss></rss>\n<rss/>"), "line 2: text after the end of the feed");
    EXPECT_EQ(errorOf(feedOf("<item><description><b>x</b></description></item>")),
              "line 5: something else than text inside \"description\"");
    EXPECT_NE(errorOf("<!DOCTYPE rss [<!ENTITY a \"aaaa\">]><rss>&a;</rss>"), "none");
}

} // namespace
