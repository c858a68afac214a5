// nightpane as a user runs it: on a real X server of the test's own, with a window manager.
#pragma once

#include "Desktop/Support/NPTestProgram.h"
#include "Desktop/Support/NPTestRandR.h"
#include "Desktop/Support/NPTestXServer.h"
#include "Foundation/QXValue.h"
#include "Platform/Linux/NPTestSessionBus.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

struct NPTestEnded {
    int status;
    std::string output;
    std::string errors;
};

class NPTestApplication : public testing::Test {
protected:
    NPTestApplication();

    static NPTestEnded run(std::vector<std::string> words);    // nightpane, to its end
    static NPTestEnded runCli(std::vector<std::string> words); // nightpane-cli

    // The settings that the program starts with, as the entries of a property list.
    void writeSettings(const std::string& entries) const;

    // Adds the effect "Night", which dims by 20 %, and has it on at the start.
    void addNight() const;

    // What is in the settings file now; nothing when there is none.
    QXDictionary storedSettings() const;

    // Starts it, and waits until it answers.
    NPTestProgram start(std::vector<std::string> words = {}, const std::string& path = NP_TEST_PROGRAM) const;

    // Waits for a window with this title, and answers its X identifier; empty when none comes.
    static std::string windowNamed(const std::string& title);
    static bool isWindowVisible(const std::string& title);

    // The programs with windows that the window manager lists for task bars and window switchers, by class.
    static std::string listedWindows();
    static std::string activeWindow(); // its X identifier

    NPTestGamma gamma() const;
    std::string settingsFile() const { return folder / "config/nightpane/org.nightpane.Nightpane.plist"; }

    NPTestXServer server = NPTestXServer::xvfb({"-screen", "0", "1280x720x24"});
    NPTemporaryFolder folder;
    NPTestVariable display{"DISPLAY", server.displayName()};
    NPTestVariable wayland{"WAYLAND_DISPLAY", std::nullopt};
    NPTestVariable platformOfQt{"QT_QPA_PLATFORM", std::nullopt};
    NPTestVariable sessionManager{"SESSION_MANAGER", std::nullopt};
    NPTestVariable config{"XDG_CONFIG_HOME", (folder / "config").string()};
    NPTestVariable runtime{"XDG_RUNTIME_DIR", folder.path().string()};
    NPTestVariable zone{"TZ", "UTC"};
    NPTestVariable language{"LC_ALL", "C.UTF-8"};
    NPTestRandR randr{server.displayName()};
    NPTestProgram windowManager{{"/usr/bin/openbox"}};
};

// What identity becomes when it is dimmed by 20 %.
NPTestGamma NPTestDimmedBy20();

// The output of a shell command, or nothing when it fails.
std::string NPTestShell(const std::string& command);
