#include "Shell/NPLoginItem.h"

#include "Foundation/QXLog.h"
#include "Support/NPDesktopTest.h"

namespace {

class NPLoginItemTest : public NPDesktopTest {
protected:
    static QXDictionary job(const QXValue& label, const QXValue& onDemand)
    {
        return {{"Label", label}, {"OnDemand", onDemand}};
    }
};

const std::string launcher = "org.nightpane.Nightpane.Launcher";

TEST_F(NPLoginItemTest, IsEnabledAsItsJobSays)
{
    EXPECT_FALSE(NPLoginItemIsEnabled());
    desktop.loginItems.jobs = {"no dictionary", job("org.other", true), QXDictionary{}, job(launcher, true)};
    EXPECT_TRUE(NPLoginItemIsEnabled());
    desktop.loginItems.jobs = {job(launcher, false), job(launcher, true)};
    EXPECT_FALSE(NPLoginItemIsEnabled()); // the first one counts
    desktop.loginItems.jobs = {QXDictionary{{"Label", launcher}}};
    EXPECT_FALSE(NPLoginItemIsEnabled());
    desktop.loginItems.jobs = {job(launcher, "yes")};
    EXPECT_FALSE(NPLoginItemIsEnabled());
}

TEST_F(NPLoginItemTest, EnablingMakesTheLauncherKnownFirst)
{
    desktop.bundle.path = "/Applications/Night pane.app";
    EXPECT_TRUE(NPSetLoginItemEnabled(true));
    EXPECT_EQ(takeLog(), "login register file:///Applications/Night%20pane.app/Contents/Library/LoginItems/"
                         "Nightpane%20Launcher.app\n"
                         "login set org.nightpane.Nightpane.Launcher 1\n");
    EXPECT_TRUE(NPLoginItemIsEnabled());
}

TEST_F(NPLoginItemTest, DisablingRegistersNothing)
{
    NPSetLoginItemEnabled(true);
    platform.log.clear();
    EXPECT_TRUE(NPSetLoginItemEnabled(false));
    EXPECT_EQ(takeLog(), "login set org.nightpane.Nightpane.Launcher 0\n");
    EXPECT_FALSE(NPLoginItemIsEnabled());
}

TEST_F(NPLoginItemTest, FailureIsLoggedWithTheFlag)
{
    std::string logged;
    const QXLogRedirection redirection([&](std::string_view line) { logged += std::string(line) + '\n'; });
    desktop.loginItems.accepts = false;
    EXPECT_FALSE(NPSetLoginItemEnabled(true));
    EXPECT_FALSE(NPSetLoginItemEnabled(false));
    EXPECT_EQ(logged, "Failed to set login item enabled to 1\nFailed to set login item enabled to 0\n");
}

TEST_F(NPLoginItemTest, AnyApplicationsFolderCounts)
{
    const auto isInApplications = [this](const std::string& path) {
        desktop.bundle.path = path;
        return NPAppIsInApplicationsFolder();
    };
    EXPECT_TRUE(isInApplications("/Applications/Nightpane.app"));
    EXPECT_TRUE(isInApplications("/Users/me/Applications/Utilities/Nightpane.app"));
    EXPECT_FALSE(isInApplications("/Users/me/Downloads/Nightpane.app"));
    EXPECT_FALSE(isInApplications("/Users/me/MyApplications/Nightpane.app"));
    EXPECT_FALSE(isInApplications("/Applications"));
}

TEST_F(NPLoginItemTest, EnablingElsewhereShowsTheSheetAfterwards)
{
    desktop.bundle.path = "/Users/me/Downloads/Nightpane.app";
    EXPECT_TRUE(NPOpenAtLoginDidChange(true, nullptr));
    const std::string log = takeLog();
    EXPECT_TRUE(log.ends_with("login set org.nightpane.Nightpane.Launcher 1\n"
                              "sheet Launch at login is more reliable when Nightpane is located in the "
                              "Applications folder.\n"))
        << log;
    const NPAlert& alert = desktop.alerts.shown.at(0);
    EXPECT_EQ(alert.informativeText,
              "If the app is not launching at next login, try moving it to the Applications folder.");
    EXPECT_EQ(alert.buttons, std::vector<std::string>{"OK"});
    desktop.alerts.answerSheet(NPAlertFirstButtonReturn); // nothing
    EXPECT_EQ(takeLog(), "");
}

TEST_F(NPLoginItemTest, DisablingElsewhereShowsNoSheet)
{
    desktop.bundle.path = "/Users/me/Downloads/Nightpane.app";
    EXPECT_FALSE(NPOpenAtLoginDidChange(false, nullptr));
    EXPECT_TRUE(desktop.alerts.shown.empty());
}

TEST_F(NPLoginItemTest, EnablingInTheApplicationsFolderShowsNoSheet)
{
    desktop.bundle.path = "/Applications/Nightpane.app";
    EXPECT_TRUE(NPOpenAtLoginDidChange(true, nullptr));
    EXPECT_TRUE(desktop.alerts.shown.empty());
}

TEST_F(NPLoginItemTest, CheckBoxShowsTheTruthAfterAFailure)
{
    const QXLogRedirection silence([](std::string_view) {});
    desktop.loginItems.accepts = false;
    EXPECT_FALSE(NPOpenAtLoginDidChange(true, nullptr));
    desktop.loginItems.jobs = {job(launcher, true)};
    EXPECT_TRUE(NPOpenAtLoginDidChange(false, nullptr));
}

} // namespace
