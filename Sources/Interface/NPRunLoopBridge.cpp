#include "Interface/NPRunLoopBridge.h"

#include <QAbstractEventDispatcher>

NPRunLoopBridge::NPRunLoopBridge(int descriptor, std::function<void()> serve, std::function<void()> prepare)
    : _notifier(descriptor, QSocketNotifier::Read)
{
    connect(&_notifier, &QSocketNotifier::activated, this, [serve = std::move(serve)] { serve(); });
    // Nothing is served from here: a dialog that opened now would run its loop inside Qt's preparation to wait.
    connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock, this,
            [prepare = std::move(prepare)] { prepare(); });
}
