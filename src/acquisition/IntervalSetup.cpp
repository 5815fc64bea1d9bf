#include "acquisition/IntervalSetup.h"

#include "resources/Prompter.h"
#include "resources/ResID.h"
#include "resources/RuntimeError.h"
#include "resources/TextNumber.h"

namespace quvo {

namespace {
const QString CrLf = QStringLiteral("\r\n");
} // namespace

bool CheckTimeField(QString& text, int minimum, int maximum)
{
    std::int16_t value = 0;
    try {
        value = toInt16(text);
    } catch (const RuntimeError&) {
        text = twoDigits(minimum);
        return false;
    }
    if (value < minimum) {
        text = twoDigits(minimum);
        return false;
    }
    if (value > maximum) {
        text = twoDigits(maximum);
        return false;
    }
    text = twoDigits(value);
    return true;
}

int timeFieldSum(const TimeTexts& t)
{
    // Checked fields always convert; anything else counts as 0.
    const auto number = [](const QString& text) {
        try {
            return static_cast<int>(toInt16(text));
        } catch (const RuntimeError&) {
            return 0;
        }
    };
    return number(t.days) + number(t.hours) + number(t.minutes) + number(t.seconds);
}

namespace {
bool checkFour(TimeTexts& t)
{
    bool ok = true;
    ok &= CheckTimeField(t.days, 0, TimeFieldLimits::DaysMax);
    ok &= CheckTimeField(t.hours, 0, TimeFieldLimits::HoursMax);
    ok &= CheckTimeField(t.minutes, 0, TimeFieldLimits::MinutesMax);
    ok &= CheckTimeField(t.seconds, 0, TimeFieldLimits::SecondsMax);
    return ok;
}
} // namespace

bool checkIntervalAndPeriod(TimeTexts& interval, bool periodNone, TimeTexts& period)
{
    bool ok = checkFour(interval);
    if (timeFieldSum(interval) == 0) {
        ok = false;
        interval.seconds = QStringLiteral("05"); // a zero interval becomes five seconds
    }
    if (!periodNone) {
        ok &= checkFour(period);
        if (timeFieldSum(period) == 0) {
            ok = false;
            period.seconds = QStringLiteral("01"); // a zero period becomes one second
        }
    }
    return ok;
}

QString intervalRangeMessage()
{
    const auto range = [](int text, int maximum) {
        return ResID(text) + QStringLiteral("0") + QStringLiteral(" - ") + QString::number(maximum);
    };
    return ResID(Res::ValueChanged) + CrLf + CrLf + ResID(Res::InputRange) + CrLf
        + range(Res::DayRange, TimeFieldLimits::DaysMax) + CrLf + range(Res::HourRange, TimeFieldLimits::HoursMax)
        + CrLf + range(Res::MinuteRange, TimeFieldLimits::MinutesMax) + CrLf
        + range(Res::SecondRange, TimeFieldLimits::SecondsMax) + CrLf + CrLf + ResID(Res::InputOneSecond);
}

void IntervalSetup::load(const DataDocument& document)
{
    fields.interval = document.GetInterval();
    const PeriodTexts p = document.GetPeriod();
    fields.period = {p.days, p.hours, p.minutes, p.seconds};
    fields.periodNone = document.GetPeriodnone();
}

bool IntervalSetup::intervalEditable(const DataDocument& document)
{
    return document.GetDatacount() <= 0;
}

bool IntervalSetup::accept(DataDocument& document, Prompter& prompter)
{
    if (!checkIntervalAndPeriod(fields.interval, fields.periodNone, fields.period)) {
        prompter.warn(intervalRangeMessage());
        return false;
    }
    store(document);
    return true;
}

void IntervalSetup::store(DataDocument& document) const
{
    const TimeTexts& i = fields.interval;
    document.SetInterval(i.days, i.hours, i.minutes, i.seconds);
    const TimeTexts& p = fields.period;
    document.SetPeriod(fields.periodNone, p.days, p.hours, p.minutes, p.seconds);
}

} // namespace quvo
