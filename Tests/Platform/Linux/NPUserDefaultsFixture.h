// What the tests of the settings file share: a folder of their own, simulated time, and what is announced
// and logged.
#pragma once

#include "Foundation/QXLog.h"
#include "Platform/Linux/NPTemporaryFolder.h"
#include "Platform/Linux/NPUserDefaultsLinux.h"
#include "Platform/Simulated/NPSimulatedClock.h"
#include "Support/PropertyLists.h"

#include <gtest/gtest.h>

#include <sys/file.h>

#include <chrono>
#include <thread>

class NPUserDefaultsFixture : public testing::Test {
protected:
    NPUserDefaultsFixture()
    {
        notifications.addObserver(observer, std::string(NPUserDefaultsDidChangeNotification), nullptr,
                                  [this](const QXNotification& notification) {
                                      ++announcements;
                                      sender = notification.object;
                                  });
    }

    std::unique_ptr<NPUserDefaultsLinux> makeStore()
    {
        return std::make_unique<NPUserDefaultsLinux>(folder, clock, clock, clock, notifications);
    }

    // What another process does, with a store that announces nothing here.
    template<class Change> void elsewhere(Change change)
    {
        QXNotificationCenter nobody;
        NPUserDefaultsLinux other(folder, clock, clock, clock, nobody);
        change(other);
    }

    void writeSettings(const QXDictionary& settings)
    {
        std::filesystem::create_directories(folder);
        writeFile(file, QXPropertyListBinaryData(settings).value());
    }

    // What the file holds; empty when there is none.
    QXDictionary settingsInFile() const
    {
        const auto value = QXPropertyListFromData(contentOf<QXData>(file));
        return value && value->dictionary() ? *value->dictionary() : QXDictionary();
    }

    // Waits for the thread that writes, without letting simulated time pass.
    bool waitForSettingsInFile(const QXDictionary& settings)
    {
        for (int i = 0; i < 5000; ++i) {
            if (settingsInFile() == settings && !isLocked()) {
                clock.advance(0);
                return true;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return false;
    }

    NPFileDescriptor openLockFile() const
    {
        std::filesystem::create_directories(folder);
        const std::filesystem::path path = file.string() + ".lock";
        return NPFileDescriptor(::open(path.c_str(), O_RDONLY | O_CREAT | O_CLOEXEC, 0600));
    }
    bool isLocked() const { return ::flock(openLockFile().get(), LOCK_EX | LOCK_NB) != 0; }

    std::vector<std::string> filesInFolder() const
    {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            names.push_back(entry.path().filename());
        }
        std::ranges::sort(names);
        return names;
    }

    const QXDate start = *QXDateFromDescription("2026-11-21T22:00:00Z");
    NPTemporaryFolder temporary;
    const std::filesystem::path folder = temporary / "config/nightpane";
    const std::filesystem::path file = folder / "org.nightpane.Nightpane.plist";
    QXNotificationCenter notifications;
    QXNotificationObserver observer;
    NPSimulatedClock clock{start, notifications};
    int announcements = 0;
    const void* sender = nullptr;
    std::vector<std::string> lines;
    QXLogRedirection redirection{[this](std::string_view line) { lines.emplace_back(line); }};
};
