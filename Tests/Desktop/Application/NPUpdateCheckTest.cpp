// Checks for updates from the menu to the download page, with a web server on this machine.
#include "Desktop/Application/NPTestAccessibility.h"
#include "Desktop/Application/NPTestApplication.h"
#include "Desktop/Application/NPTestTrayHost.h"
#include "Desktop/Application/NPTestWebServer.h"

#include "Foundation/QXBase64.h"

#include <sodium.h>

#include <algorithm>
#include <array>
#include <fstream>

namespace {

constexpr const char* withStatusItem = "<key>ShowStatusItem</key><integer>1</integer>";
const std::string feedPath = "/appcast.xml";
const std::string pagePath = "/download.html";

class NPUpdateCheckTest : public NPTestApplication {
protected:
    NPUpdateCheckTest()
    {
        std::filesystem::create_directory(folder / "bin");
        const std::string opener = folder / "bin/xdg-open";
        std::ofstream(opener) << "#!/bin/sh\necho \"$1\" >> '" << (folder / "opened").string() << "'\n";
        std::filesystem::permissions(opener, std::filesystem::perms::owner_all);
    }

    std::string feed() const { return web.url(feedPath); }

    void serveVersion(const std::string& version, const std::string& properties = "")
    {
        web.serve(feedPath, "<rss><channel><item><sparkle:version>" + version + "</sparkle:version><link>"
                                + web.url(pagePath) + "</link>" + properties + "</item></channel></rss>");
    }

    void writeFeedSetting(const std::string& address, const std::string& otherEntries = "") const
    {
        writeSettings(withStatusItem + ("<key>SUFeedURL</key><string>" + address + "</string>") + otherEntries);
        addNight();
    }

    NPTestProgram startWithFeed() const
    {
        writeFeedSetting(feed());
        return start();
    }

    void checkByHand()
    {
        ASSERT_TRUE(NPTestEventually([&] { return host.hasItem(); }));
        host.choose("Check for Updates…");
    }

    std::string settings() const { return NPTestShell("plistutil -i '" + settingsFile() + "'"); }
    std::string opened() const { return contentOf(folder / "opened"); }
    static bool isOneOf(const std::vector<NPTestAccessibility::Element>& elements, const std::string& text)
    {
        return std::ranges::any_of(elements, [&](const auto& element) { return element.name.starts_with(text); });
    }

    // What is said of a check by hand that ends without an offer. The text may go on.
    void expectAlert(const std::string& message, const std::string& text) const
    {
        EXPECT_TRUE(windows.elementNamed(message));
        const auto shown = windows.elements();
        std::string names;
        for (const auto& element : shown) {
            names += element.name + '\n';
        }
        EXPECT_TRUE(isOneOf(shown, text)) << names;
        EXPECT_FALSE(isOneOf(shown, "Checking for updates…"));
        windows.press("OK");
        EXPECT_TRUE(NPTestEventually([&] { return !windows.shows(message); }));
    }
    void expectFailure(const std::string& text) const { expectAlert("The check for updates failed.", text); }

    NPTestVariable path{"PATH", (folder / "bin").string() + ":/usr/bin:/bin"};
    NPTestWebServer web;
    NPTestSessionBus bus;
    NPTestAccessibility windows{bus.address()};
    NPTestTrayHost host{bus.address()};
};

// Of a program that has a key: an update for it, as its maker signs it.
class NPSignedUpdateTest : public NPUpdateCheckTest {
protected:
    NPSignedUpdateTest()
    {
        web.serve("/nightpane.deb", package);
        writeFeedSetting(feed());
    }

    NPTestProgram startPublished() const { return start({}, NP_TEST_PUBLISHED); }

    static std::string signatureOf(const std::string& text, unsigned char seedByte)
    {
        std::array<unsigned char, crypto_sign_SEEDBYTES> seed;
        seed.fill(seedByte);
        std::array<unsigned char, crypto_sign_PUBLICKEYBYTES> publicKey;
        std::array<unsigned char, crypto_sign_SECRETKEYBYTES> key;
        QXData signature(crypto_sign_BYTES);
        crypto_sign_seed_keypair(publicKey.data(), key.data(), seed.data());
        crypto_sign_detached(signature.data(), nullptr, reinterpret_cast<const unsigned char*>(text.data()),
                             text.size(), key.data());
        return QXBase64FromData(signature);
    }

    void serveSigned(const std::string& attribute)
    {
        serveVersion("200", "<enclosure url=\"" + web.url("/nightpane.deb") + "\" " + attribute + "/>");
    }

    const std::string package = "the bytes of a package";
};

// Where a minute takes two seconds, and it is noon of the first of June.
class NPAutomaticUpdateCheckTest : public NPUpdateCheckTest {
protected:
    NPTestProgram startAtNoon(const std::string& lastCheck, const std::string& otherEntries = "") const
    {
        writeFeedSetting(feed(), "<key>SUEnableAutomaticChecks</key><true/><key>SULastCheckTime</key><date>"
                                     + lastCheck + "</date>" + otherEntries);
        const NPTestVariable library("LD_PRELOAD", "/usr/$LIB/faketime/libfaketime.so.1");
        const NPTestVariable begin("FAKETIME", "@2024-06-01 12:00:00 x30");
        const NPTestVariable monotonic("FAKETIME_DONT_FAKE_MONOTONIC", "1");
        return start();
    }

    bool hasAsked() const { return web.requestCount(feedPath) > 0; }

    static bool logs(const NPTestProgram& program, const std::string& text)
    {
        return NPTestEventually([&] { return program.errors().find(text) != std::string::npos; });
    }

    // Ends the program; the time of the last check, as the settings have it: "2024-06-01T12:01:02Z".
    std::string lastCheckAtTheEnd() const
    {
        run({"--quit"});
        const std::string text = settings();
        const std::size_t key = text.find("<key>SULastCheckTime</key>");
        const std::size_t date = text.find("<date>", key) + 6;
        return key == std::string::npos ? "" : text.substr(date, text.find('<', date) - date);
    }
};

} // namespace

TEST_F(NPUpdateCheckTest, NewerVersionIsOfferedWithItsNotesAndLeadsToThePage)
{
    serveVersion("200", "<description>&lt;p&gt;Fades are smoother.&lt;/p&gt;</description>");
    const NPTestProgram program = startWithFeed();
    checkByHand();
    EXPECT_TRUE(windows.elementNamed("A new version of Nightpane is available."));
    EXPECT_EQ(windows.textOf("Release Notes:"), "Fades are smoother.");
    EXPECT_FALSE(windows.shows("Checking for updates…"));
    windows.press("Open Download Page");
    EXPECT_TRUE(NPTestEventually([&] { return opened() == web.url(pagePath) + '\n'; })) << opened();
    EXPECT_TRUE(NPTestEventually([&] { return windows.elements().empty(); }));
    EXPECT_EQ(web.requestCount(pagePath), 0); // that is the browser's
}

TEST_F(NPUpdateCheckTest, VersionToBeRemindedOfIsOfferedAgain)
{
    serveVersion("200");
    const NPTestProgram program = startWithFeed();
    for (int time = 0; time < 2; ++time) {
        checkByHand();
        windows.press("Remind Me Later");
        EXPECT_TRUE(NPTestEventually([&] { return windows.elements().empty(); }));
    }
    EXPECT_EQ(settings().find("SUSkippedVersion"), std::string::npos);
    EXPECT_EQ(opened(), "");
}

TEST_F(NPUpdateCheckTest, VersionToBeSkippedIsRemembered)
{
    serveVersion("200");
    const NPTestProgram program = startWithFeed();
    checkByHand();
    windows.press("Skip This Version");
    EXPECT_TRUE(NPTestEventually([&] {
        return settings().find("<key>SUSkippedVersion</key>\n\t<string>200</string>") != std::string::npos;
    })) << settings();
    EXPECT_EQ(opened(), "");
}

TEST_F(NPUpdateCheckTest, SameVersionIsNoNews)
{
    serveVersion(NP_TEST_VERSION);
    const NPTestProgram program = startWithFeed();
    checkByHand();
    expectAlert("You’re up to date!", "Nightpane " NP_TEST_VERSION " is currently the newest version available.");
}

TEST_F(NPUpdateCheckTest, ServerThatIsNotThereIsAMessage)
{
    const NPTestProgram program = startWithFeed();
    web.close();
    checkByHand();
    expectFailure("The update feed cannot be reached: " + feed() + " cannot be read. Connection refused");
}

TEST_F(NPUpdateCheckTest, PageThatIsNotThereIsAMessage)
{
    const NPTestProgram program = startWithFeed();
    checkByHand();
    expectFailure("The update feed cannot be reached: " + feed() + " cannot be read. ");
}

TEST_F(NPUpdateCheckTest, FeedThatIsTooLargeIsAMessage)
{
    web.neverEnd(feedPath);
    const NPTestProgram program = startWithFeed();
    checkByHand();
    expectFailure("The update feed cannot be reached: " + feed() + " has more than 1048576 bytes.");
}

TEST_F(NPUpdateCheckTest, FeedThatIsNoneIsAMessage)
{
    web.serve(feedPath, "<html><body>Moved</body></html>");
    const NPTestProgram program = startWithFeed();
    checkByHand();
    expectFailure("The update feed cannot be read: " + feed());
    EXPECT_NE(program.errors().find("line 1: \"html\" where an update feed has \"rss\""), std::string::npos);
}

TEST_F(NPUpdateCheckTest, RedirectionOnThisMachineIsFollowed)
{
    serveVersion("200");
    web.redirect("/old.xml", feed());
    writeFeedSetting(web.url("/old.xml"));
    const NPTestProgram program = start();
    checkByHand();
    EXPECT_TRUE(windows.elementNamed("A new version of Nightpane is available."));
}

TEST_F(NPUpdateCheckTest, RedirectionToAnAddressThatAnybodyCanChangeIsAMessage)
{
    web.redirect(feedPath, "http://updates.example/appcast.xml");
    const NPTestProgram program = startWithFeed();
    checkByHand();
    expectFailure("The update feed cannot be reached: " + feed()
                  + " leads to http://updates.example/appcast.xml, which is neither");
}

TEST_F(NPUpdateCheckTest, CheckThatIsCancelledSaysNothing)
{
    web.neverAnswer(feedPath);
    const NPTestProgram program = startWithFeed();
    checkByHand();
    EXPECT_TRUE(windows.elementNamed("Checking for updates…"));
    windows.press("Cancel");
    EXPECT_TRUE(NPTestEventually([&] { return windows.elements().empty(); }));
}

TEST_F(NPUpdateCheckTest, ServerThatNeverAnswersHoldsNothingUpAndIsAMessageInTheEnd)
{
    web.neverAnswer(feedPath);
    const NPTestProgram program = startWithFeed();
    checkByHand();
    EXPECT_TRUE(windows.elementNamed("Checking for updates…"));
    EXPECT_EQ(run({"--toggle"}).status, 0);
    EXPECT_TRUE(NPTestEventually([&] { return gamma() == NPTestIdentityGamma(); }));
    EXPECT_EQ(run({}).status, 0);
    EXPECT_NE(windowNamed("Nightpane"), "");
    EXPECT_TRUE(NPTestEventually([&] { return windows.shows("The check for updates failed."); },
                                 std::chrono::seconds(60)));
    expectFailure("The update feed cannot be reached: " + feed() + " does not answer.");
}

TEST_F(NPUpdateCheckTest, ServerThatCannotProveWhoItIsIsAMessage)
{
    const std::string place = folder.path().string();
    ASSERT_EQ(NPTestShell("cd '" + place
                          + "' && openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes "
                            "-keyout key.pem -out certificate.pem -days 2 -subj /CN=localhost "
                            "-addext subjectAltName=IP:127.0.0.1 2>&1 && echo -n > appcast.xml || echo failed")
                  .find("failed"),
              std::string::npos);
    const NPTestProgram secure({"/bin/sh", "-c",
                                "cd '" + place
                                    + "' && exec openssl s_server -accept 127.0.0.1:0 -cert certificate.pem "
                                      "-key key.pem -WWW"});
    const std::string listening = "ACCEPT 127.0.0.1:";
    ASSERT_TRUE(NPTestEventually([&] { return secure.output().find(listening) != std::string::npos; }))
        << secure.errors();
    const std::string output = secure.output();
    const std::size_t port = output.find(listening) + listening.size();
    const std::string address =
        "https://127.0.0.1:" + output.substr(port, output.find('\n', port) - port) + feedPath;
    writeFeedSetting(address);
    const NPTestProgram program = start();
    checkByHand();
    expectFailure("The update feed cannot be reached: No secure connection to " + address
                  + " can be made. SSL handshake failed: The certificate is self-signed, and untrusted");
}

TEST_F(NPSignedUpdateTest, SignedUpdateIsOffered)
{
    serveSigned("sparkle:edSignature=\"" + signatureOf(package, 7) + "\"");
    const NPTestProgram program = startPublished();
    checkByHand();
    EXPECT_TRUE(windows.elementNamed("A new version of Nightpane is available."));
}

TEST_F(NPSignedUpdateTest, UpdateWithoutASignatureIsAMessage)
{
    serveSigned("");
    const NPTestProgram program = startPublished();
    checkByHand();
    expectFailure("The update is not signed.");
}

TEST_F(NPSignedUpdateTest, UpdateThatSomebodyElseHasSignedIsAMessage)
{
    serveSigned("sparkle:edSignature=\"" + signatureOf(package, 8) + "\"");
    const NPTestProgram program = startPublished();
    checkByHand();
    expectFailure("The update’s signature is wrong.");
}

TEST_F(NPSignedUpdateTest, AddressesAreThoseThatTheProgramWasBuiltWith)
{
    const NPTestProgram program = start({"--preferences"}, NP_TEST_PUBLISHED);
    windows.press("Help");
    EXPECT_FALSE(windows.shows("Frequently Asked Questions")); // this build has no such page
    windows.press("Contact Support");
    EXPECT_TRUE(NPTestEventually([&] { return opened() == "mailto:help@nightpane.org\n"; })) << opened();
}

TEST_F(NPAutomaticUpdateCheckTest, OverdueCheckOffersWhatIsNewAfterAMinute)
{
    serveVersion("200");
    const NPTestProgram program = startAtNoon("2024-05-01T00:00:00Z");
    EXPECT_TRUE(windows.elementNamed("A new version of Nightpane is available."));
    EXPECT_FALSE(windows.shows("Checking for updates…"));
    const std::string last = lastCheckAtTheEnd();
    EXPECT_GE(last, "2024-06-01T12:01:00Z");
}

TEST_F(NPAutomaticUpdateCheckTest, ChecksWhenTheIntervalIsOverAndNotBefore)
{
    serveVersion(NP_TEST_VERSION);
    const NPTestProgram program = startAtNoon("2024-06-01T08:02:00Z", "<key>SUScheduledCheckInterval</key>"
                                                                      "<integer>14400</integer>");
    EXPECT_TRUE(NPTestEventually([&] { return hasAsked(); }));
    EXPECT_TRUE(windows.elements().empty());
    EXPECT_GE(lastCheckAtTheEnd(), "2024-06-01T12:02:00Z");
}

TEST_F(NPAutomaticUpdateCheckTest, SkippedVersionIsNotOffered)
{
    serveVersion("200");
    const NPTestProgram program =
        startAtNoon("2024-05-01T00:00:00Z", "<key>SUSkippedVersion</key><string>200</string>");
    EXPECT_TRUE(NPTestEventually([&] { return hasAsked(); }));
    checkByHand(); // whatever the automatic one had to say has been said by then
    EXPECT_TRUE(windows.elementNamed("A new version of Nightpane is available."));
    EXPECT_EQ(web.requestCount(feedPath), 2);
}

TEST_F(NPAutomaticUpdateCheckTest, FailureIsALineOfTheLogAlone)
{
    web.serve(feedPath, "no feed");
    const NPTestProgram program = startAtNoon("2024-05-01T00:00:00Z");
    EXPECT_TRUE(
        logs(program, "nightpane: Update check failed: The update feed cannot be read: " + feed() + " (line 1: "))
        << program.errors();
    EXPECT_TRUE(windows.elements().empty());
}

TEST_F(NPAutomaticUpdateCheckTest, ServerThatIsNotThereIsALineOfTheLogAlone)
{
    web.close();
    const NPTestProgram program = startAtNoon("2024-05-01T00:00:00Z");
    EXPECT_TRUE(logs(program, "nightpane: Update check failed: The update feed cannot be reached: " + feed()))
        << program.errors();
    EXPECT_TRUE(windows.elements().empty());
}

TEST_F(NPAutomaticUpdateCheckTest, NothingIsAskedOfTheFeedThatIsNobodys)
{
    writeSettings(withStatusItem + std::string("<key>SUEnableAutomaticChecks</key><true/>"));
    addNight();
    const NPTestProgram program = start({"--preferences"});
    windows.press("Automatic Updates…");
    const auto box = windows.elementNamed("Check for updates automatically");
    ASSERT_TRUE(box);
    EXPECT_FALSE(box->isEnabled);
}
