#include "acquisition/IntervalRules.h"

#include "resources/ResID.h"
#include "resources/RuntimeError.h"
#include "resources/TextNumber.h"

#include <QRegularExpression>

namespace quvo {

namespace {
const QString CrLf = QStringLiteral("\r\n");

int fieldValue(const QString& text)
{
    // The texts have been through CheckTimeField, so they convert.
    return toInt16(text);
}

QString rangeLine(int label, TimeFieldRange range)
{
    return ResID(label) + QString::number(range.minimum) + QStringLiteral(" - ") + QString::number(range.maximum);
}
} // namespace

bool CheckTimeField(QString& text, TimeFieldRange range)
{
    int value = 0;
    try {
        value = toInt16(text);
    } catch (const RuntimeError&) {
        text = twoDigits(range.minimum);
        return false;
    }
    if (value < range.minimum) {
        text = twoDigits(range.minimum);
        return false;
    }
    if (value > range.maximum) {
        text = twoDigits(range.maximum);
        return false;
    }
    text = twoDigits(value);
    return true;
}

bool CheckTimeFieldSet(TimeTexts& fields)
{
    bool valid = CheckTimeField(fields.days, DayRange);
    valid = CheckTimeField(fields.hours, HourRange) && valid;
    valid = CheckTimeField(fields.minutes, MinuteRange) && valid;
    valid = CheckTimeField(fields.seconds, SecondRange) && valid;
    return valid;
}

bool CheckIntervalAndPeriod(TimeTexts& interval, bool customPeriod, TimeTexts& period)
{
    bool valid = CheckTimeFieldSet(interval);
    const auto sum = [](const TimeTexts& t) {
        return fieldValue(t.days) + fieldValue(t.hours) + fieldValue(t.minutes) + fieldValue(t.seconds);
    };
    if (sum(interval) == 0) {
        interval.seconds = QStringLiteral("05"); // a zero interval becomes five seconds
        valid = false;
    }
    if (customPeriod) {
        valid = CheckTimeFieldSet(period) && valid;
        if (sum(period) == 0) {
            period.seconds = QStringLiteral("01"); // a zero period becomes one second
            valid = false;
        }
    }
    return valid;
}

QString InputRangeText()
{
    return ResID(Res::InputRange) + CrLf + rangeLine(Res::DayRange, DayRange) + CrLf
        + rangeLine(Res::HourRange, HourRange) + CrLf + rangeLine(Res::MinuteRange, MinuteRange) + CrLf
        + rangeLine(Res::SecondRange, SecondRange);
}

QString IntervalRangeMessage()
{
    return ResID(Res::ValueChanged) + CrLf + CrLf + InputRangeText() + CrLf + CrLf + ResID(Res::InputOneSecond);
}

QString DurationOptionProblem(const QString& option, const QString& text)
{
    TimeTexts fields;
    if (!ParseDurationText(text, fields)) {
        return QStringLiteral("%1 \"%2\" is not a duration: give whole seconds (90) or days, hours, minutes and "
                              "seconds as DD:HH:MM:SS (00:00:01:30).")
                   .arg(option, text)
            + CrLf + CrLf + InputRangeText();
    }
    const QString given = QStringLiteral("%1 %2 is out of range: ").arg(option, text.trimmed());
    struct Field {
        QString* text;
        TimeFieldRange range;
        const char* name;
    };
    for (const Field& field : {Field{&fields.days, DayRange, "days"}, Field{&fields.hours, HourRange, "hours"},
                               Field{&fields.minutes, MinuteRange, "minutes"},
                               Field{&fields.seconds, SecondRange, "seconds"}}) {
        if (!CheckTimeField(*field.text, field.range)) {
            return given
                + QStringLiteral("the %1 must be from %2 to %3.")
                      .arg(QLatin1String(field.name))
                      .arg(field.range.minimum)
                      .arg(field.range.maximum)
                + CrLf + CrLf + InputRangeText();
        }
    }
    if (fieldValue(fields.days) + fieldValue(fields.hours) + fieldValue(fields.minutes) + fieldValue(fields.seconds) == 0)
        return given + QStringLiteral("it must be one second or more.") + CrLf + CrLf + InputRangeText();
    return {};
}

bool ParseDurationText(const QString& text, TimeTexts& fields)
{
    static const QRegularExpression seconds(QStringLiteral("^\\d+$"));
    static const QRegularExpression parts(QStringLiteral("^(\\d+):(\\d+):(\\d+):(\\d+)$"));
    const QString trimmed = text.trimmed();
    if (seconds.match(trimmed).hasMatch()) {
        bool ok = false;
        const qulonglong total = trimmed.toULongLong(&ok);
        if (!ok)
            return false;
        fields.days = twoDigits(static_cast<int>(qMin<qulonglong>(total / 86400, 999999)));
        fields.hours = twoDigits(static_cast<int>(total % 86400 / 3600));
        fields.minutes = twoDigits(static_cast<int>(total % 3600 / 60));
        fields.seconds = twoDigits(static_cast<int>(total % 60));
        return true;
    }
    const QRegularExpressionMatch m = parts.match(trimmed);
    if (!m.hasMatch())
        return false;
    fields = {m.captured(1), m.captured(2), m.captured(3), m.captured(4)};
    return true;
}

} // namespace quvo
