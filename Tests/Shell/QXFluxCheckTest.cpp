#include "Shell/QXFluxCheck.h"

#include "Support/NPDesktopTest.h"

namespace {

class QXFluxCheckTest : public NPDesktopTest {
protected:
    void installFlux() { desktop.workspace.installed["fluxgui"] = "/opt/f.lux.app"; }
    std::optional<QXValue> warned() const { return platform.defaults.objectForKey("QXFluxWarned"); }
};

TEST_F(QXFluxCheckTest, SaysNothingAndRemembersNothingWhereFluxIsNotInstalled)
{
    EXPECT_TRUE(QXFluxCheckAtLaunch());
    EXPECT_EQ(takeLog(), "find fluxgui\n");
    EXPECT_EQ(warned(), std::nullopt);
}

TEST_F(QXFluxCheckTest, WarnsOnce)
{
    installFlux();
    desktop.alerts.answers = {NPAlertFirstButtonReturn};
    EXPECT_FALSE(QXFluxCheckAtLaunch());
    EXPECT_EQ(takeLog(), "find fluxgui\n"
                         "alert f.lux is present on this computer.\n"
                         "defaults set QXFluxWarned\n"
                         "defaults synchronize\n");
    EXPECT_EQ(warned(), QXValue(true));
    EXPECT_TRUE(QXFluxCheckAtLaunch());
    EXPECT_EQ(takeLog(), "");
}

TEST_F(QXFluxCheckTest, QuittingEndsTheProgramAndTheWarningComesBack)
{
    installFlux();
    desktop.alerts.answers = {NPAlertSecondButtonReturn};
    QXFluxCheckAtLaunch();
    EXPECT_TRUE(desktop.workspace.isTerminating());
    EXPECT_EQ(warned(), std::nullopt);
    platform.log.clear();
    QXFluxCheckAtLaunch();
    EXPECT_EQ(desktop.alerts.shown.size(), 2U);
}

TEST_F(QXFluxCheckTest, AlertNamesBothProgramsWithoutTheirExtensions)
{
    installFlux();
    desktop.bundle.path = "/opt/Nightpane.app";
    desktop.workspace.icons["/opt/f.lux.app"] = "/opt/f.lux.png";
    QXFluxCheckAtLaunch();
    const NPAlert& alert = desktop.alerts.shown.at(0);
    EXPECT_EQ(alert.messageText, "f.lux is present on this computer.");
    EXPECT_EQ(alert.informativeText, "[Nightpane installed, might interfer f.lux.]");
    EXPECT_EQ(alert.buttons, (std::vector<std::string>{"Continue", "Quit"}));
    EXPECT_EQ(alert.style, NPAlertStyle::critical);
    EXPECT_EQ(static_cast<int>(alert.style), 2);
    EXPECT_EQ(alert.icon, "/opt/f.lux.png");
}

TEST_F(QXFluxCheckTest, NameThatOnlyLooksLikeOneWithAnExtensionIsKept)
{
    desktop.workspace.installed["fluxgui"] = "/usr/bin/f.lux";
    QXFluxCheckAtLaunch();
    EXPECT_EQ(desktop.alerts.shown.at(0).messageText, "f.lux is present on this computer.");
}

TEST_F(QXFluxCheckTest, AlertKeepsTheApplicationsIconWhereFluxHasNone)
{
    installFlux();
    QXFluxCheckAtLaunch();
    EXPECT_EQ(desktop.alerts.shown.at(0).icon, "");
}

TEST_F(QXFluxCheckTest, TextsComeFromATableOfItsOwn)
{
    installFlux();
    QXSetStringTables([](std::string_view key, std::string_view table) -> std::optional<std::string> {
        if (table != "QXFluxCheck") {
            return std::nullopt;
        }
        return key.starts_with('[') ? "%2$@ stört %1$@." : std::string(key) + '!';
    });
    QXFluxCheckAtLaunch();
    QXSetStringTables({});
    const NPAlert& alert = desktop.alerts.shown.at(0);
    EXPECT_EQ(alert.messageText, "f.lux is present on this computer.!");
    EXPECT_EQ(alert.informativeText, "f.lux stört Nightpane.");
    EXPECT_EQ(alert.buttons, (std::vector<std::string>{"Continue!", "Quit!"}));
}

} // namespace
