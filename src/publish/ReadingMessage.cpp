#include "publish/ReadingMessage.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>

#include <cmath>

namespace quvo {

QString isoTimeWithOffset(const QDateTime& instant)
{
    const int offset = instant.offsetFromUtc(); // seconds east of UTC
    const int minutes = std::abs(offset) / 60;
    return instant.toString(QStringLiteral("yyyy-MM-dd'T'HH:mm:ss"))
        + QStringLiteral("%1%2:%3")
              .arg(offset < 0 ? QLatin1Char('-') : QLatin1Char('+'))
              .arg(minutes / 60, 2, 10, QLatin1Char('0'))
              .arg(minutes % 60, 2, 10, QLatin1Char('0'));
}

QString readingKindName(ReadingKind kind)
{
    switch (kind) {
    case ReadingKind::Monitor:
        return QStringLiteral("monitor");
    case ReadingKind::Realtime:
        return QStringLiteral("realtime");
    case ReadingKind::Logging:
        return QStringLiteral("logging");
    case ReadingKind::Save:
        break;
    }
    return QStringLiteral("save");
}

QByteArray readingPayload(const TakenReading& reading, const std::optional<QString>& judgement)
{
    QJsonObject object;
    object.insert(QStringLiteral("time"), isoTimeWithOffset(reading.time));
    bool isNumber = false;
    const double value = reading.number.toDouble(&isNumber); // QString::toDouble ignores the locale
    object.insert(QStringLiteral("value"), isNumber && std::isfinite(value) ? QJsonValue(value) : QJsonValue());
    object.insert(QStringLiteral("text"), reading.text);
    object.insert(QStringLiteral("unit"), reading.unit);
    object.insert(QStringLiteral("kind"), readingKindName(reading.kind));
    object.insert(QStringLiteral("row"), reading.row ? QJsonValue(*reading.row) : QJsonValue());
    if (!reading.timeText.isEmpty())
        object.insert(QStringLiteral("label"), reading.timeText);
    if (judgement)
        object.insert(QStringLiteral("judgement"), *judgement);
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

QByteArray statePayload(MeterActivity activity)
{
    switch (activity) {
    case MeterActivity::Idle:
        break;
    case MeterActivity::Monitoring:
        return QByteArrayLiteral("monitoring");
    case MeterActivity::Recording:
        return QByteArrayLiteral("recording");
    case MeterActivity::Downloading:
        return QByteArrayLiteral("downloading");
    }
    return QByteArrayLiteral("idle");
}

} // namespace quvo
