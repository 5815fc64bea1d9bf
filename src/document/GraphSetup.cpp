#include "document/GraphSetup.h"

#include "document/DataDocument.h"
#include "resources/ProgramState.h"
#include "resources/Prompter.h"
#include "resources/ResID.h"
#include "resources/RuntimeError.h"
#include "resources/TextNumber.h"

#include <cmath>

namespace quvo {

namespace {

const QString CrLf = QStringLiteral("\r\n");

// An integer field: converted as a 32-bit integer (a text that does not convert counts as
// not a number). In range, the canonical text is written back; otherwise the replacement.
// `value` receives the value the field holds afterwards.
bool checkInteger(QString& text, std::int32_t low, std::int32_t high, const QString& notANumber,
                  const QString& below, const QString& above, std::int32_t& value)
{
    std::int32_t v = 0;
    try {
        v = toInt32(text);
    } catch (const RuntimeError&) {
        text = notANumber;
        value = toInt32(text);
        return false;
    }
    if (v < low) {
        text = below;
    } else if (v > high) {
        text = above;
    } else {
        text = QString::number(v);
        value = v;
        return true;
    }
    value = toInt32(text);
    return false;
}

} // namespace

void GraphSetup::load(const DataDocument& document)
{
    fields.end = document.GetGraphcount();
    const AxisXTexts x = document.GetAxisX();
    fields.label = x.perLabel;
    fields.tick = x.perTick;
    fields.xUser = !toBoolean(x.automatic);
    const AxisYTexts y = document.GetAxisY();
    fields.minimum = y.minimum;
    fields.maximum = y.maximum;
    fields.major = y.major;
    fields.minor = y.minor;
    fields.yUser = !toBoolean(y.automatic);
}

int GraphSetup::minimumSpacing(std::int32_t dataRange)
{
    const int m = static_cast<int>(std::nearbyint(dataRange / 100.0)); // halves to even
    return m < 1 ? 1 : m;
}

int GraphSetup::check(int* spacing)
{
    int firstError = GraphFields::None;
    const auto fail = [&firstError](int field) {
        if (firstError == GraphFields::None)
            firstError = field;
    };

    int m = 1;
    if (fields.xUser) {
        std::int32_t end = 0;
        const QString maxText = QString::number(DataRangeMax);
        if (!checkInteger(fields.end, DataRangeMin, DataRangeMax, maxText, QString::number(DataRangeMin), maxText,
                          end))
            fail(GraphFields::DataRange);
        m = minimumSpacing(end);
        const QString mText = QString::number(m);
        const QString spacingMaxText = QString::number(SpacingMax);
        std::int32_t unused = 0;
        if (!checkInteger(fields.tick, m, SpacingMax, mText, mText, spacingMaxText, unused))
            fail(GraphFields::TickMarks);
        if (!checkInteger(fields.label, m, SpacingMax, mText, mText, spacingMaxText, unused))
            fail(GraphFields::TickLabels);
    }
    if (spacing)
        *spacing = m;

    if (fields.yUser) {
        // Maximum, single precision; an accepted entry stays as typed.
        float maximum = 0;
        bool maxOk = true;
        try {
            maximum = toSingle(fields.maximum);
            if (maximum < MaximumLow) {
                fields.maximum = shortestSingleText(MaximumLow);
                maxOk = false;
            } else if (maximum > MaximumHigh) {
                fields.maximum = shortestSingleText(MaximumHigh);
                maxOk = false;
            }
        } catch (const RuntimeError&) {
            fields.maximum = shortestSingleText(MaximumHigh);
            maxOk = false;
        }
        if (!maxOk) {
            fail(GraphFields::Maximum);
            maximum = toSingle(fields.maximum);
        }

        // Minimum: below the (corrected) maximum.
        try {
            const float minimum = toSingle(fields.minimum);
            if (minimum < MinimumLow) {
                fields.minimum = shortestSingleText(MinimumLow);
                fail(GraphFields::Minimum);
            } else if (!(minimum < maximum)) {
                fields.minimum = shortestSingleText(maximum - 1.0f);
                fail(GraphFields::Minimum);
            }
        } catch (const RuntimeError&) {
            fields.minimum = shortestSingleText(MinimumLow);
            fail(GraphFields::Minimum);
        }

        const QString low = QString::number(DivisionMin);
        const QString high = QString::number(DivisionMax);
        std::int32_t unused = 0;
        if (!checkInteger(fields.major, DivisionMin, DivisionMax, low, low, high, unused))
            fail(GraphFields::Major);
        if (!checkInteger(fields.minor, DivisionMin, DivisionMax, low, low, high, unused))
            fail(GraphFields::Minor);
    }
    return firstError;
}

QString GraphSetup::message(int field, int spacing)
{
    int name = 0;
    QString lower, upper;
    switch (field) {
    case GraphFields::DataRange:
        name = Res::FieldXDataRange;
        lower = QString::number(DataRangeMin);
        upper = QString::number(DataRangeMax);
        break;
    case GraphFields::TickMarks:
    case GraphFields::TickLabels:
        name = field == GraphFields::TickMarks ? Res::FieldXTickMarks : Res::FieldXTickLabels;
        lower = QString::number(spacing);
        upper = QString::number(SpacingMax);
        break;
    case GraphFields::Maximum:
        name = Res::FieldYMaximum;
        lower = shortestSingleText(MaximumLow);
        upper = shortestSingleText(MaximumHigh);
        break;
    case GraphFields::Minimum:
        // The fixed range is shown, whatever the maximum is.
        name = Res::FieldYMinimum;
        lower = shortestSingleText(MinimumLow);
        upper = shortestSingleText(MaximumHigh - 1.0f);
        break;
    case GraphFields::Major:
    case GraphFields::Minor:
        name = field == GraphFields::Major ? Res::FieldYMajor : Res::FieldYMinor;
        lower = QString::number(DivisionMin);
        upper = QString::number(DivisionMax);
        break;
    default:
        return {};
    }
    QString text = ResID(Res::ValueChanged) + CrLf + CrLf + ResID(name) + CrLf + ResID(Res::InputRangeColon) + lower
        + QStringLiteral(" - ") + upper;
    if (field == GraphFields::Minimum)
        text += CrLf + CrLf + ResID(Res::InputSmallerThanMaximum);
    return text;
}

GraphTransfer GraphSetup::transfer(std::int16_t datacount) const
{
    GraphTransfer t;
    if (!fields.xUser) {
        // With two readings or fewer the data range stays as it was.
        t.setCount = datacount > 2;
        t.count = datacount;
        t.xAutomatic = true;
        t.perLabel = 1;
        t.perTick = 1;
    } else {
        t.setCount = true;
        t.count = toInt16(fields.end);
        t.xAutomatic = false;
        t.perLabel = toInt16(fields.label);
        t.perTick = toInt16(fields.tick);
    }
    if (!fields.yUser) {
        t.yAutomatic = true;
        t.minimum = QStringLiteral("1");
        t.maximum = QStringLiteral("10");
        t.major = 1;
        t.minor = 1;
    } else {
        t.yAutomatic = false;
        t.minimum = fields.minimum;
        t.maximum = fields.maximum;
        t.major = toInt16(fields.major);
        t.minor = toInt16(fields.minor);
    }
    return t;
}

void GraphSetup::apply(const GraphTransfer& t, DataDocument& document)
{
    if (t.setCount)
        document.SetGraphcount(t.count);
    document.SetAxisX(t.xAutomatic, t.perLabel, t.perTick);
    document.SetAxisY(t.yAutomatic, t.minimum, t.maximum, t.major, t.minor);
    document.PaintGraphtop();
}

bool GraphSetup::ApplyGraphSetup(DataDocument& document, Prompter& prompter)
{
    int spacing = 1;
    const int firstError = check(&spacing);
    if (firstError != GraphFields::None) {
        prompter.warn(message(firstError, spacing));
        return false;
    }
    try {
        apply(transfer(document.GetDatacount()), document);
    } catch (const RuntimeError& e) {
        // Checked fields always convert; this only guards against a document refusing them.
        programState().LastError = e.description();
        prompter.warn(e.description());
        return false;
    }
    return true;
}

} // namespace quvo
