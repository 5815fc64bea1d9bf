#include "resources/EventWait.h"

#include <QAbstractEventDispatcher>
#include <QEventLoop>
#include <QObject>

namespace quvo {

void waitUntil(const std::function<bool()>& done)
{
    if (done())
        return;
    QEventLoop loop;
    auto* dispatcher = QAbstractEventDispatcher::instance();
    const auto connection = QObject::connect(dispatcher, &QAbstractEventDispatcher::aboutToBlock, &loop, [&] {
        if (done())
            loop.quit();
    });
    loop.exec();
    QObject::disconnect(connection);
}

} // namespace quvo
