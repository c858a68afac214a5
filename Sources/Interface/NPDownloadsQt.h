// Downloads by Qt Network. The network part of Qt is set up with the first download.
#pragma once

#include "Platform/NPUpdaterServices.h"

#include <QNetworkAccessManager>

#include <functional>
#include <memory>

class NPDownloadsQt final : public NPDownloadServices {
public:
    // `prepare` is called before the first download, which needs an application.
    explicit NPDownloadsQt(std::function<void()> prepare) : _prepare(std::move(prepare)) {}

    NPDownload download(const std::string& url, std::size_t limit,
                        std::function<void(std::expected<QXData, std::string>)> completion) override;

    // Ends what is under way without a word. To be called before the application goes.
    void stop() { _network = nullptr; }

private:
    const std::function<void()> _prepare;
    std::unique_ptr<QNetworkAccessManager> _network;
};
