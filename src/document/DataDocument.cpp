#include "document/DataDocument.h"

#include "document/ChartScale.h"
#include "document/DocumentContent.h"
#include "document/UnitStatistics.h"
#include "resources/Prompter.h"
#include "resources/ProgramState.h"
#include "resources/ResID.h"
#include "resources/RuntimeError.h"
#include "resources/TextNumber.h"

#include <QHash>
#include <QLatin1StringView>
#include <QStringList>

#include <algorithm>
#include <array>
#include <type_traits>
#include <cmath>
#include <limits>

namespace quvo {

namespace {

const QString& keyOf(int panel)
{
    return DataDocument::panelKeys().at(panel);
}

RuntimeError documentFull()
{
    return RuntimeError(QStringLiteral("The document cannot hold more than %1 readings.").arg(MaxReadings));
}

RuntimeError countOverflow()
{
    return RuntimeError(QStringLiteral("Too many readings to count."));
}

// MeterModel read as a number (a text without a leading number counts as 0).
double modelNumber()
{
    const QString& model = programState().MeterModel;
    if (model.size() == 1 && model.at(0).unicode() >= u'0' && model.at(0).unicode() <= u'9')
        return model.at(0).unicode() - u'0'; // the usual one-digit code, without parsing
    return leadingNumber(model);
}

// A document keeps its texts as single bytes, as its data file does.
void checkStorable(std::initializer_list<QStringView> texts)
{
    for (const QStringView t : texts) {
        if (t.size() > RowStore::MaxTextLength)
            throw RuntimeError(QStringLiteral("A text of %1 characters is too long for a document.").arg(t.size()));
        if (!RowStore::fitsLatin1(t))
            throw RuntimeError(QStringLiteral("The text \"%1\" has characters a data file cannot hold.").arg(t));
    }
}

QString titleOf(int kind)
{
    switch (kind) {
    case DataKinds::Realtime:
        return ResID(Res::RealtimeData);
    case DataKinds::Logging:
        return ResID(Res::LoggingModeData);
    case DataKinds::Save:
        return ResID(Res::SaveModeData);
    default:
        return {};
    }
}

// days×86400 + hours×3600 + minutes×60 + seconds: days and hours as 32-bit, minutes and
// seconds as 16-bit integers, every product and sum checked.
std::int32_t secondsOf(const TimeTexts& t, const char* what)
{
    const std::int32_t days = toInt32(t.days);
    const std::int32_t hours = toInt32(t.hours);
    const std::int32_t minutes = toInt16(t.minutes);
    const std::int32_t seconds = toInt16(t.seconds);
    std::int32_t a = 0, b = 0, c = 0, total = 0;
    if (__builtin_mul_overflow(days, 86400, &a) || __builtin_mul_overflow(hours, 3600, &b)
        || __builtin_mul_overflow(minutes, 60, &c) || __builtin_add_overflow(a, b, &total)
        || __builtin_add_overflow(total, c, &total) || __builtin_add_overflow(total, seconds, &total))
        throw RuntimeError(QStringLiteral("The %1 %2d %3h %4m %5s is too long to count in seconds.")
                               .arg(QLatin1String(what), t.days, t.hours, t.minutes, t.seconds));
    return total;
}

QString timeText(const TimeTexts& t)
{
    return t.days + QStringLiteral("d +") + t.hours + QStringLiteral("h +") + t.minutes + QStringLiteral("m +")
        + t.seconds + QStringLiteral("s");
}

} // namespace

const QStringList& DataDocument::panelKeys()
{
    static const QStringList keys = {QStringLiteral("Label"), QStringLiteral("Max"),    QStringLiteral("Interval"),
                                     QStringLiteral("Min"),   QStringLiteral("Period"), QStringLiteral("Avg"),
                                     QStringLiteral("X"),     QStringLiteral("Y"),      QStringLiteral("Judge")};
    return keys;
}

QString DataDocument::panelCaption(const QString& key)
{
    static const QHash<QString, int> captions = {
        {QStringLiteral("Max"), Res::Max},       {QStringLiteral("Min"), Res::Min},
        {QStringLiteral("Avg"), Res::Avg},       {QStringLiteral("Interval"), Res::Interval},
        {QStringLiteral("Period"), Res::Period}, {QStringLiteral("X"), Res::XAxis},
        {QStringLiteral("Y"), Res::YAxis}};
    if (key == QLatin1String("Judge"))
        return QStringLiteral("JUDGE "); // beyond the original program: no string-table text
    const auto it = captions.constFind(key);
    return it == captions.cend() ? QString() : ResID(it.value()) + QLatin1Char(' ');
}

DataDocument::DataDocument(QObject* parent) : QObject(parent), d(std::make_unique<Content>())
{
    d->headings = {QStringLiteral("No."), ResID(Res::HeadingTime), ResID(Res::HeadingData), ResID(Res::HeadingMode)};
}

DataDocument::~DataDocument() = default;

void DataDocument::setPrompter(Prompter* prompter)
{
    m_prompter = prompter;
}

void DataDocument::setBusyHook(std::function<void(bool)> hook)
{
    m_busyHook = std::move(hook);
}

void DataDocument::busy(bool on)
{
    if (m_busyHook)
        m_busyHook(on);
}

namespace {
// The hourglass pointer for the length of a scope; released early with done().
class BusyScope {
public:
    explicit BusyScope(const std::function<void(bool)>& hook) : m_hook(hook)
    {
        if (m_hook)
            m_hook(true);
    }
    ~BusyScope() { done(); }
    void done()
    {
        if (m_on && m_hook)
            m_hook(false);
        m_on = false;
    }
    BusyScope(const BusyScope&) = delete;
    BusyScope& operator=(const BusyScope&) = delete;

private:
    const std::function<void(bool)>& m_hook;
    bool m_on = true;
};
} // namespace

// --- Making a document -------------------------------------------------------------------

void DataDocument::OpenNew(int kind)
{
    ProgramState& state = programState();
    d->prefill = QStringLiteral("0");
    state.MeterModel.clear();
    state.PadRecords = false;

    BusyScope hourglass(m_busyHook);
    setKind(kind);
    if (kind == DataKinds::Realtime) {
        // A new realtime document records every 5 seconds with no period.
        SetInterval(QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("05"));
        SetPeriod(true, {}, {}, {}, {});
    }
    SetGraphcount(20);
    PaintGraphtop();
    SetAxisX(true, 1, 1);
    SetAxisY(true, QStringLiteral("0"), QStringLiteral("10"), 1, 1);

    d->count = 0;
    d->stats.chartMaxRow = 0;
    d->stats.chartMinRow = 0;
    d->stats.sum = 0;
    d->stats.numericCount = 0;

    // Heading row plus 20 empty rows labelled 1 to 20.
    d->resetGrid(21);
    for (int row = 1; row <= 20; ++row)
        d->setLabel(row, row);
    d->judge = ReadingJudge(m_limits);
    showJudgementCounts();

    d->statsByUnit = 1;
    d->stats.unitCode = UnitCodes::None;
    d->stats.statusMaxRow = 0;
    d->stats.statusMinRow = 0;
    d->unchanged = true;
    d->fileName.clear();

    state.NewCount = state.NewCount == std::numeric_limits<std::int16_t>::max()
        ? std::int16_t(1)
        : static_cast<std::int16_t>(state.NewCount + 1);
    d->caption = QStringLiteral("New") + QString::number(state.NewCount);

    PaintGraph();
    if (!m_quiet) {
        emit gridReset();
        emit captionChanged(d->caption);
        emit commandStateRequested();
    }
}

int DataDocument::kind() const
{
    return d->kind;
}

QString DataDocument::Tag() const
{
    return d->tag;
}

QString DataDocument::caption() const
{
    return d->caption;
}

bool DataDocument::isUnchanged() const
{
    return d->unchanged;
}

void DataDocument::setKind(int kind)
{
    d->kind = kind;
    d->tag = QString::number(kind);
    setPanel(Content::Label, titleOf(kind));
    if (!m_quiet)
        emit kindChanged(kind);
}

// --- Grid ----------------------------------------------------------------------------------

int DataDocument::Rows() const
{
    return d->rows;
}

QString DataDocument::TextMatrix(int row, int col) const
{
    if (col < 0 || col > 3 || row < 0 || row >= d->rows)
        return {};
    if (row == 0)
        return d->headings[static_cast<std::size_t>(col)];
    if (col == 0)
        return d->labelText(row);
    return d->text(row, col);
}

QString DataDocument::rawText(int row) const
{
    if (row < 1 || row >= d->rows)
        return {};
    return d->cells.text(row - 1, RowStore::Raw);
}

float DataDocument::rowNumber(int row) const
{
    if (row < 1 || row >= d->rows)
        return std::numeric_limits<float>::quiet_NaN();
    return d->number[static_cast<std::size_t>(row - 1)];
}

void DataDocument::Content::setRoom(int dataRows)
{
    cells.resize(dataRows);
    label.resize(static_cast<std::size_t>(dataRows), NoLabel);
    number.resize(static_cast<std::size_t>(dataRows), std::numeric_limits<float>::quiet_NaN());
}

void DataDocument::appendGridRow()
{
    if (d->rows > MaxReadings)
        throw documentFull();
    d->resizeGrid(d->rows + 1);
    if (!m_quiet)
        emit rowsAppended(d->rows - 1, d->rows - 1);
}

bool DataDocument::AddGridrow()
{
    try {
        if (d->count + 1 == d->rows)
            appendGridRow();
        return true;
    } catch (const RuntimeError& e) {
        programState().LastError = e.description();
        return false;
    }
}

// --- Readings --------------------------------------------------------------------------------

void DataDocument::AddData(const QString& time, const QString& value, const QString& mode, const QString& raw)
{
    addReading<QStringView>({time, value, mode, raw}, labelsFromZero());
}

bool DataDocument::labelsFromZero()
{
    const double model = modelNumber();
    return model != 0 && model != 1;
}

template <class View>
void DataDocument::addReading(const std::array<View, 4>& texts, bool fromZero)
{
    const auto& [time, value, mode, raw] = texts;
    ProgramState& state = programState();
    if (state.PadRecords) {
        // A padding record of a download: no reading, only the next padding row's label.
        const std::int32_t counter = toInt32(d->prefill);
        if (counter == std::numeric_limits<std::int32_t>::max())
            throw countOverflow();
        const std::int32_t next = counter + 1;
        const int row = fromZero ? next : d->rows - 1;
        if (row < 1 || row >= d->rows)
            throw RuntimeError(QStringLiteral("Row %1 does not exist in the table.").arg(row));
        d->unchanged = false;
        d->prefill = QString::number(next);
        d->setLabel(row, fromZero ? next - 1 : d->count);
        if (!m_quiet)
            emit rowsChanged(row, row);
        return;
    }

    if (d->count == std::numeric_limits<std::int32_t>::max())
        throw countOverflow();
    const std::int32_t row = d->count + 1;
    if (row > MaxReadings)
        throw documentFull();
    if (row >= d->rows)
        throw RuntimeError(QStringLiteral("Row %1 does not exist in the table.").arg(row));
    if constexpr (std::is_same_v<View, QStringView>)
        checkStorable({time, value, mode, raw});
    const bool numeric = quvo::IsReadingValue(value);
    const double number = numeric ? readingNumber(value) : 0.0; // may throw: nothing changed yet

    d->unchanged = false;
    d->count = row;
    const std::size_t i = static_cast<std::size_t>(row - 1);
    d->setLabel(row, fromZero ? row - 1 : row);
    d->cells.setRow(row - 1, texts);
    d->number[i] = numeric ? static_cast<float>(number) : std::numeric_limits<float>::quiet_NaN();
    if (d->statsByUnit == 1)
        classifyAndTrack(mode, raw);
    if (numeric)
        d->stats.accumulate(number, row);
    if (d->judge.limits().active())
        judgeRow(row, value, mode); // the panel follows with DispCalculation
    if (!m_quiet)
        emit rowsChanged(row, row);
}

void DataDocument::AddRealtimedata(const QString& time, const QString& value, const QString& mode, bool isNumeric,
                                   const QString& raw)
{
    addRealtimeReading(time, value, mode, isNumeric, raw);
}

void DataDocument::addRealtimeReading(QStringView time, QStringView value, QStringView mode, bool isNumeric,
                                      QStringView raw)
{
    if (d->count == std::numeric_limits<std::int32_t>::max())
        throw countOverflow();
    const std::int32_t row = d->count + 1;
    if (row > MaxReadings)
        throw documentFull();
    if (row >= d->rows)
        throw RuntimeError(QStringLiteral("Row %1 does not exist in the table.").arg(row));
    checkStorable({time, value, mode, raw});
    // The caller says whether the reading counts; the chart draws whatever reads as a number.
    double number = 0;
    float drawn = std::numeric_limits<float>::quiet_NaN();
    if (isNumeric) {
        number = readingNumber(value); // may throw: nothing changed yet
        drawn = static_cast<float>(number);
    } else if (IsReadingValue(value)) {
        try {
            drawn = static_cast<float>(readingNumber(value));
        } catch (const RuntimeError&) {
            // not a number: a gap in the chart
        }
    }

    d->unchanged = false;
    d->count = row;
    if (d->count > d->graphCount) {
        // The chart follows the newest reading.
        d->scroll.maximum = d->count - d->graphCount;
        d->scroll.value = d->scroll.maximum;
        d->scroll.enabled = true;
        if (!m_quiet)
            emit scrollChanged();
    }
    d->setLabel(row, row);
    d->cells.setRow(row - 1, std::array<QStringView, RowStore::FieldCount>{time, value, mode, raw});
    d->number[static_cast<std::size_t>(row - 1)] = drawn;
    if (d->statsByUnit == 1)
        classifyAndTrack(mode, raw);
    if (isNumeric)
        d->stats.accumulate(number, row);
    if (d->judge.limits().active()) {
        judgeRow(row, value, mode);
        showJudgementCounts();
    }

    if (d->progressValue < d->progressMaximum) {
        ++d->progressValue;
        if (!m_quiet)
            emit progressChanged();
    }
    if (!m_quiet) {
        emit rowsChanged(row, row);
        emit realtimeRowAdded(row);
    }
    PaintGraph();
    if (isNumeric)
        DispCalculation();
}

std::int16_t DataDocument::GetDatacount() const
{
    return static_cast<std::int16_t>(d->count); // never above 32767
}

// --- Statistics ------------------------------------------------------------------------------

bool DataDocument::IsReadingValue(QStringView value)
{
    return quvo::IsReadingValue(value);
}

void DataDocument::AccumulateStatistics(double value, std::int32_t row)
{
    d->stats.accumulate(value, row);
}

UnitClass DataDocument::ClassifyUnit(const QString& mode, const QString& raw)
{
    d->modelCopy = programState().MeterModel;
    return classifyUnit(mode, raw, d->modelCopy);
}

void DataDocument::SetUnitRange(const QString& mode, const QString& raw)
{
    if (d->statsByUnit == 1)
        classifyAndTrack(QStringView(mode), QStringView(raw));
}

template <class View>
void DataDocument::classifyAndTrack(View mode, View raw)
{
    if (mode.isEmpty())
        return;
    const QString& model = programState().MeterModel;
    // Once copied the two share their characters, so the common case needs no comparison.
    if (d->modelCopy.constData() != model.constData() && d->modelCopy != model)
        d->modelCopy = model;
    if (d->stats.enterUnit(classifyUnit(mode, raw, model))) {
        setPanel(Content::Max, {});
        setPanel(Content::Min, {});
        setPanel(Content::Avg, {});
    }
}

const ReadingStatistics& DataDocument::statistics() const
{
    return d->stats;
}

int DataDocument::statisticsByUnit() const
{
    return d->statsByUnit;
}

QString DataDocument::modeCode() const
{
    return d->modelCopy;
}

QString DataDocument::GetDispmax(bool withNumber) const
{
    const std::int32_t row = d->stats.statusMaxRow;
    if (row == 0)
        return {};
    return extremeText(d->kind, withNumber, d->headings, shownRowNumber(row, programState().MeterModel),
                       QString(d->text(row, 1)), QString(d->text(row, 2)), QString(d->text(row, 3)));
}

QString DataDocument::GetDispmin(bool withNumber) const
{
    const std::int32_t row = d->stats.statusMinRow;
    if (row == 0)
        return {};
    return extremeText(d->kind, withNumber, d->headings, shownRowNumber(row, programState().MeterModel),
                       QString(d->text(row, 1)), QString(d->text(row, 2)), QString(d->text(row, 3)));
}

QString DataDocument::GetDispavg()
{
    d->modelCopy = programState().MeterModel;
    if (d->stats.numericCount == 0)
        return {};
    const double average = d->stats.sum / d->stats.numericCount;
    return averageText(average, d->statsByUnit == 1, d->stats.unitCode, d->stats.rangeIndex, d->modelCopy);
}

void DataDocument::DispCalculation()
{
    showJudgementCounts();
    if (d->stats.numericCount == 0)
        return;
    setPanel(Content::Max, GetDispmax(true));
    setPanel(Content::Min, GetDispmin(true));
    setPanel(Content::Avg, GetDispavg());
}

// --- Limits ------------------------------------------------------------------------------------

void DataDocument::setLimits(const Limits& limits)
{
    m_limits = limits;
    judgeAllRows();
    showJudgementCounts();
    PaintGraph();
    if (!m_quiet)
        emit judgementChanged();
}

const Limits& DataDocument::limits() const
{
    return d->judge.limits();
}

Judgement DataDocument::judgement(int row) const
{
    if (row < 1 || static_cast<std::size_t>(row) > d->judged.size())
        return Judgement::None;
    return d->judged[static_cast<std::size_t>(row - 1)];
}

const JudgementCounts& DataDocument::judgementCounts() const
{
    return d->tally;
}

template <class View>
void DataDocument::judgeRow(int row, View value, View mode)
{
    const auto i = static_cast<std::size_t>(row - 1);
    if (d->judged.size() <= i) {
        // Room as the grid's other columns have it, so a new row rarely moves them.
        if (d->judged.capacity() <= i)
            d->judged.reserve(std::max(d->number.capacity(), i + 1));
        d->judged.resize(i + 1, Judgement::None);
    }
    d->tally.add(d->judged[i], -1);
    d->judged[i] = d->judge.judge(value, mode);
    d->tally.add(d->judged[i]);
}

void DataDocument::judgeAllRows()
{
    d->judge = ReadingJudge(m_limits);
    d->judged.clear();
    d->tally = {};
    if (!m_limits.active())
        return;
    d->judged.reserve(d->number.capacity());
    for (int row = 1; row <= d->count; ++row)
        judgeRow(row, d->text(row, 2), d->text(row, 3));
}

void DataDocument::showJudgementCounts()
{
    setPanel(Content::Judge, d->judge.limits().active() ? judgementCountsText(d->tally) : QString());
}

// --- Interval and period ---------------------------------------------------------------------

void DataDocument::SetInterval(const QString& days, const QString& hours, const QString& minutes,
                               const QString& seconds)
{
    d->interval = {days, hours, minutes, seconds};
    d->unchanged = false;
    setPanel(Content::Interval, timeText(d->interval));
}

TimeTexts DataDocument::GetInterval() const
{
    return d->interval;
}

std::int32_t DataDocument::GetIntervalcount() const
{
    return secondsOf(d->interval, "interval");
}

void DataDocument::SetPeriod(bool none, const QString& days, const QString& hours, const QString& minutes,
                             const QString& seconds)
{
    d->periodNone = none;
    if (!none)
        d->period = {days, hours, minutes, seconds};
    d->unchanged = false;
    setPanel(Content::Period, none ? QString() : timeText(d->period));
}

PeriodTexts DataDocument::GetPeriod() const
{
    return {booleanText(d->periodNone), d->period.days, d->period.hours, d->period.minutes, d->period.seconds};
}

bool DataDocument::GetPeriodnone() const
{
    return d->periodNone;
}

std::int32_t DataDocument::GetPeriodcount() const
{
    return secondsOf(d->period, "period");
}

void DataDocument::DispInterval(const QString& seconds)
{
    d->interval.seconds = seconds;
    setPanel(Content::Interval, seconds + QStringLiteral("s"));
}

QString DataDocument::GetFilename() const
{
    return d->fileName;
}

// --- Chart settings ----------------------------------------------------------------------------

void DataDocument::SetGraphcount(std::int16_t count)
{
    if (count < 1)
        throw RuntimeError(QStringLiteral("The number of readings across the chart (%1) is not between 1 and %2.")
                               .arg(count)
                               .arg(MaxReadings));
    d->graphCount = count;
    d->unchanged = false;
    if (!m_quiet)
        emit axisChanged();
}

QString DataDocument::GetGraphcount() const
{
    return QString::number(d->graphCount);
}

int DataDocument::graphCount() const
{
    return d->graphCount;
}

void DataDocument::SetAxisX(bool automatic, std::int16_t perLabel, std::int16_t perTick)
{
    if (!automatic && (perLabel < 1 || perTick < 1))
        throw RuntimeError(QStringLiteral("The X axis needs at least one category between tick marks and labels "
                                          "(%1, %2).")
                               .arg(perLabel)
                               .arg(perTick));
    d->unchanged = false;
    d->x.automatic = automatic;
    if (!automatic) {
        d->x.perLabel = perLabel;
        d->x.perTick = perTick;
    }
    setPanel(Content::X, d->x.automatic ? ResID(Res::Automatic) : QString());
    if (!m_quiet)
        emit axisChanged();
}

AxisXTexts DataDocument::GetAxisX() const
{
    return {booleanText(d->x.automatic), QString::number(d->x.perLabel), QString::number(d->x.perTick)};
}

void DataDocument::CancelXauto()
{
    d->x.automatic = false;
    setPanel(Content::X, {});
    if (!m_quiet)
        emit axisChanged();
}

void DataDocument::SetAxisY(bool automatic, const QString& minimum, const QString& maximum, std::int16_t major,
                            std::int16_t minor)
{
    double low = 0, high = 0;
    if (!automatic) {
        low = toDouble(minimum);
        high = toDouble(maximum);
        if (major < 1 || minor < 1)
            throw RuntimeError(QStringLiteral("The Y axis needs at least one major and one minor division (%1, %2).")
                                   .arg(major)
                                   .arg(minor));
    }
    d->unchanged = false;
    if (automatic)
        d->y.labelFormat.clear();
    else
        d->y.labelFormat = high - low < 0.01 ? QStringLiteral("0.0###E-#") : QStringLiteral("0.0###");
    d->y.automatic = automatic;
    if (!automatic) {
        d->y.maximum = high;
        d->y.minimum = low;
        d->y.major = major;
        d->y.minor = minor;
        d->y.minimumText = minimum;
        d->y.maximumText = maximum;
    }
    setPanel(Content::Y, d->y.automatic ? ResID(Res::Automatic) : QString());
    d->updateYScale();
    if (!m_quiet)
        emit axisChanged();
}

AxisYTexts DataDocument::GetAxisY() const
{
    const QString major = QString::number(d->y.major);
    const QString minor = QString::number(d->y.minor);
    if (d->y.automatic)
        return {booleanText(true), shortestSingleText(static_cast<float>(d->frame.yMinimum)),
                shortestSingleText(static_cast<float>(d->frame.yMaximum)), major, minor};
    return {booleanText(false), d->y.minimumText, d->y.maximumText, major, minor};
}

const AxisX& DataDocument::axisX() const
{
    return d->x;
}

const AxisY& DataDocument::axisY() const
{
    return d->y;
}

// --- The chart window --------------------------------------------------------------------------

void DataDocument::PaintGraphtop()
{
    SetScrollRange();
    PaintGraph();
}

void DataDocument::SetScrollRange()
{
    ScrollRange& s = d->scroll;
    const ScrollRange before = s;
    if (d->count > d->graphCount) {
        s.maximum = d->count - d->graphCount;
        s.enabled = true;
        s.value = std::clamp(s.value, 0, s.maximum);
    } else {
        s.value = 0;
        s.enabled = false;
    }
    if (!m_quiet && (before.maximum != s.maximum || before.value != s.value || before.enabled != s.enabled))
        emit scrollChanged();
}

void DataDocument::setScrollValue(int value)
{
    ScrollRange& s = d->scroll;
    if (!s.enabled)
        return;
    value = std::clamp(value, 0, s.maximum);
    if (value == s.value)
        return;
    s.value = value;
    if (!m_quiet)
        emit scrollChanged();
    if (!programState().RealtimeCommandsOn)
        PaintGraph();
}

void DataDocument::PaintGraph()
{
    ChartFrame& f = d->frame;
    f.firstRow = d->scroll.value + 1;
    f.pointCount = d->graphCount;
    f.shownCount = std::clamp(d->count - d->scroll.value, 0, f.pointCount);
    f.hasMax = d->stats.chartMaxRow > 0;
    f.maxValue = d->stats.chartMaxValue;
    f.hasMin = d->stats.chartMinRow > 0;
    f.minValue = d->stats.chartMinValue;
    // The limit lines, once a reading of the limits' unit has been judged.
    const Limits& limits = d->judge.limits();
    const bool ofUnit = d->tally.judged() > 0;
    f.hasUpperLine = ofUnit && limits.upper.has_value();
    f.upperLine = limits.upper.value_or(0);
    f.hasLowerLine = ofUnit && limits.lower.has_value();
    f.lowerLine = limits.lower.value_or(0);
    d->updateYScale();
    if (!m_quiet)
        emit chartChanged();
}

const ScrollRange& DataDocument::scrollRange() const
{
    return d->scroll;
}

const ChartFrame& DataDocument::chart() const
{
    return d->frame;
}

std::span<const float> DataDocument::chartValues() const
{
    return d->shownValues();
}

float DataDocument::chartValue(int point) const
{
    const ChartFrame& f = d->frame;
    if (point < 1 || point > f.shownCount)
        return std::numeric_limits<float>::quiet_NaN();
    return d->number[static_cast<std::size_t>(f.firstRow - 1 + point - 1)];
}

QString DataDocument::chartLabel(int point) const
{
    const ChartFrame& f = d->frame;
    if (point < 1 || point > f.shownCount)
        return {};
    const int row = f.firstRow + point - 1;
    return d->kind == DataKinds::Save ? d->labelText(row) : QString(d->text(row, 1));
}

// --- Progress bar --------------------------------------------------------------------------------

void DataDocument::IniProgress(std::int16_t maximum)
{
    d->progressValue = 0;
    d->progressMaximum = maximum;
    if (!m_quiet)
        emit progressChanged();
}

int DataDocument::progressValue() const
{
    return d->progressValue;
}

int DataDocument::progressMaximum() const
{
    return d->progressMaximum;
}

// --- Status panels ---------------------------------------------------------------------------------

QString DataDocument::panelText(const QString& key) const
{
    const auto i = panelKeys().indexOf(key);
    return i < 0 ? QString() : d->panels[static_cast<std::size_t>(i)];
}

void DataDocument::setPanel(int panel, const QString& text)
{
    QString& current = d->panels[static_cast<std::size_t>(panel)];
    if (current == text)
        return;
    current = text;
    if (!m_quiet)
        emit panelTextChanged(keyOf(panel), text);
}

// --- Window ------------------------------------------------------------------------------------------

float DataDocument::windowWidth() const
{
    return d->windowWidth;
}

float DataDocument::windowHeight() const
{
    return d->windowHeight;
}

int DataDocument::windowState() const
{
    return d->windowState;
}

void DataDocument::setNormalSize(float widthTwips, float heightTwips)
{
    d->windowWidth = widthTwips;
    d->windowHeight = heightTwips;
}

void DataDocument::setWindowState(int state)
{
    d->windowState = state;
}

bool DataDocument::queryClose(Prompter& prompter, const std::function<void()>& save)
{
    const CloseAnswer answer = askClose(prompter, save);
    if (answer == CloseAnswer::Discard)
        discardChanges();
    return answer != CloseAnswer::Keep;
}

DataDocument::CloseAnswer DataDocument::askClose(Prompter& prompter, const std::function<void()>& save)
{
    if (programState().CommState != CommStates::Idle)
        return CloseAnswer::Keep; // refused without a word while a meter operation runs
    if (d->unchanged)
        return CloseAnswer::Close;
    const PromptAnswer answer = prompter.message(d->caption + QStringLiteral("\r\n") + ResID(Res::SaveChangesQuestion),
                                                 PromptButtons::YesNoCancel, PromptIcon::Exclamation, PromptAnswer::Yes);
    switch (answer) {
    case PromptAnswer::Yes:
        if (save)
            save();
        return d->unchanged ? CloseAnswer::Close : CloseAnswer::Keep; // still changed: the save failed or was cancelled
    case PromptAnswer::No:
        return CloseAnswer::Discard;
    default:
        return CloseAnswer::Keep;
    }
}

void DataDocument::discardChanges()
{
    d->unchanged = true;
}

std::size_t DataDocument::bytesHeld() const
{
    return d->bytesHeld();
}

void DataDocument::emitEverything()
{
    if (m_quiet)
        return;
    emit gridReset();
    emit kindChanged(d->kind);
    for (int i = 0; i < panelKeys().size(); ++i)
        emit panelTextChanged(keyOf(i), d->panels[static_cast<std::size_t>(i)]);
    emit axisChanged();
    emit scrollChanged();
    emit chartChanged();
    emit progressChanged();
    emit captionChanged(d->caption);
    emit windowSizeChanged();
}

void DataDocument::showFailure(const QString& path)
{
    if (m_prompter)
        m_prompter->warn(programState().LastError + QStringLiteral("\r\n") + path);
}

// The reader of data files adds its rows from single-byte line fields.
template void DataDocument::addReading<QStringView>(const std::array<QStringView, 4>&, bool);
template void DataDocument::addReading<QLatin1StringView>(const std::array<QLatin1StringView, 4>&, bool);

} // namespace quvo
