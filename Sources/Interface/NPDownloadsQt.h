// Downloads by Qt Network. The network part of Qt is set up with the first download.
#pragma once

#include "Platform/NPUpdaterServices.h"

#include <QNetworkAccessManager>

#include <chrono>
#include <functional>
#include <memory>

// How long a server is waited for.
struct NPDownloadPatience {
    std::chrono::milliseconds silence{30'000}; // without a byte
    std::size_t bytesPerSecond = 8192;         // a download takes no longer than its limit takes at this pace
};

class NPDownloadsQt final : public NPDownloadServices {
public:
    // `prepare` is called before the first download, which needs an application.
    explicit NPDownloadsQt(std::function<void()> prepare, NPDownloadPatience patience = {})
        : _prepare(std::move(prepare)), _patience(patience)
    {
    }

    NPDownload download(const std::string& url, std::size_t limit,
                        std::function<void(std::expected<QXData, std::string>)> completion) override;

    // Ends what is under way without a word. To be called before the application goes.
    void stop() { _network = nullptr; }

private:
    const std::function<void()> _prepare;
    const NPDownloadPatience _patience;
    std::unique_ptr<QNetworkAccessManager> _network;
};
