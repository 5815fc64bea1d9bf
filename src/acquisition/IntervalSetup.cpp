#include "acquisition/IntervalSetup.h"

#include "acquisition/IntervalRules.h"
#include "resources/Prompter.h"

namespace quvo {

void IntervalSetup::load(const DataDocument& document)
{
    fields.interval = document.GetInterval();
    const PeriodTexts p = document.GetPeriod();
    fields.period = {p.days, p.hours, p.minutes, p.seconds};
    fields.periodNone = document.GetPeriodnone();
    fields.continueWhenFull = document.continueWhenFull();
}

bool IntervalSetup::intervalEditable(const DataDocument& document)
{
    return document.GetDatacount() <= 0;
}

bool IntervalSetup::accept(DataDocument& document, Prompter& prompter,
                           const std::function<void(const IntervalSetupFields&)>& showCorrected)
{
    const bool valid = CheckIntervalAndPeriod(fields.interval, !fields.periodNone, fields.period);
    if (showCorrected)
        showCorrected(fields);
    if (!valid) {
        prompter.warn(IntervalRangeMessage());
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
    document.setContinueWhenFull(fields.continueWhenFull);
}

} // namespace quvo
