#include "Foundation/QXLog.h"

#include "Foundation/QXAssert.h"

#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <utility>

namespace {

std::mutex& sinkMutex()
{
    static std::mutex mutex;
    return mutex;
}

QXLogSink& installedSink()
{
    static QXLogSink sink;
    return sink;
}

} // namespace

void QXLog(std::string_view line)
{
    QXLogSink sink;
    {
        const std::lock_guard lock(sinkMutex());
        sink = installedSink();
    }
    if (sink) {
        sink(line);
        return;
    }
    // One call per line, so that lines of several threads do not mix.
    std::string text(line);
    text += '\n';
    std::fputs(text.c_str(), stderr);
}

QXLogRedirection::QXLogRedirection(QXLogSink sink)
{
    const std::lock_guard lock(sinkMutex());
    _former = std::exchange(installedSink(), std::move(sink));
}

QXLogRedirection::~QXLogRedirection()
{
    const std::lock_guard lock(sinkMutex());
    installedSink() = std::move(_former);
}

void QXAssertionFailed(const char* text)
{
    std::fprintf(stderr, "Assertion failed: %s\n", text);
    std::abort();
}
