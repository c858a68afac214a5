// The log: one line per event, on standard error unless a sink is installed. Safe from any thread.
#pragma once

#include <functional>
#include <string>
#include <string_view>

void QXLog(std::string_view line);

using QXLogSink = std::function<void(std::string_view line)>;

// Sends the lines to a sink for as long as the object lives; the former sink comes back afterwards.
class QXLogRedirection {
public:
    explicit QXLogRedirection(QXLogSink sink);
    ~QXLogRedirection();
    QXLogRedirection(const QXLogRedirection&) = delete;
    QXLogRedirection& operator=(const QXLogRedirection&) = delete;

private:
    QXLogSink _former;
};
