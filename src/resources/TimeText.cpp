#include "resources/TimeText.h"

#include <QTime>

namespace quvo {

namespace {
constexpr std::int64_t SecondsPerDay = 86400;
}

QString timeLabel(const QDateTime& instant)
{
    return instant.time().toString(QStringLiteral("hh:mm:ss"));
}

QString addToTimeLabel(const QString& label, std::int64_t days, std::int64_t hours, std::int64_t minutes,
                       std::int64_t seconds)
{
    QTime start = QTime::fromString(label, QStringLiteral("hh:mm:ss"));
    if (!start.isValid())
        start = QTime::fromString(label, QStringLiteral("h:mm:ss"));
    const std::int64_t base = start.isValid() ? start.msecsSinceStartOfDay() / 1000 : 0;
    const std::int64_t moved = base + days * SecondsPerDay + hours * 3600 + minutes * 60 + seconds;
    std::int64_t ofDay = moved % SecondsPerDay;
    if (ofDay < 0)
        ofDay += SecondsPerDay;
    return QTime(0, 0).addSecs(static_cast<int>(ofDay)).toString(QStringLiteral("hh:mm:ss"));
}

std::int64_t secondBoundariesBetween(const QDateTime& from, const QDateTime& to)
{
    auto wholeSeconds = [](const QDateTime& t) {
        const std::int64_t ms = t.toMSecsSinceEpoch();
        return ms >= 0 ? ms / 1000 : -((-ms + 999) / 1000);
    };
    return wholeSeconds(to) - wholeSeconds(from);
}

} // namespace quvo
