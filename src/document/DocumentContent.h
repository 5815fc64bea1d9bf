#pragma once
// Everything a DataDocument holds, in one copyable value: a failed open puts the copy taken
// before it back. Private to the document's own sources.

#include "document/ChartScale.h"
#include "document/DataDocument.h"
#include "document/DocumentView.h"
#include "document/RowStore.h"
#include "document/UnitStatistics.h"

#include <array>
#include <cmath>
#include <limits>
#include <span>
#include <vector>

namespace quvo {

struct DataDocument::Content {
    enum Panel { Label, Max, Interval, Min, Period, Avg, X, Y, Judge, PanelCount };

    int kind = DataKinds::Unknown;
    QString tag;
    QString caption;

    // The grid. Data row r (1..rows-1) lives at index r - 1 of `cells`, `label` and
    // `number`; they may hold more (empty) rows than the grid shows.
    static constexpr std::int32_t NoLabel = std::numeric_limits<std::int32_t>::min();
    std::array<QString, 4> headings;
    int rows = 1; // including the heading row
    RowStore cells;                  // time, value, mode and the hidden raw text
    std::vector<std::int32_t> label; // the "No." column: always a number, or NoLabel when empty
    std::vector<float> number;       // the value as the chart draws it, NaN when not a number

    std::int32_t count = 0; // readings; the row of the newest one
    ReadingStatistics stats;
    // The judgement of each reading against the limits (index row - 1; rows past its end
    // have none), the judge that binds a unit left open, and the counts.
    std::vector<Judgement> judged;
    ReadingJudge judge;
    JudgementCounts tally;
    int statsByUnit = 1;
    bool unchanged = true;
    QString modelCopy;
    QString fileName;
    TimeTexts interval;
    bool periodNone = false;
    TimeTexts period{QStringLiteral("00"), QStringLiteral("01"), QStringLiteral("00"), QStringLiteral("00")};
    QString prefill = QStringLiteral("0");

    std::int16_t graphCount = 20;
    AxisX x;
    AxisY y;
    ScrollRange scroll;
    ChartFrame frame;

    int progressValue = 0;
    int progressMaximum = 100;
    std::array<QString, PanelCount> panels;

    float windowWidth = DefaultDocumentWidth; // twips of the normal state
    float windowHeight = DefaultDocumentHeight;
    int windowState = 0;

    // The text of a data row's column 1 to 3 (TIME, DATA, MODE).
    QLatin1StringView text(int row, int col) const
    {
        return cells.text(row - 1, static_cast<RowStore::Field>(col - 1));
    }

    QString labelText(int row) const
    {
        const std::int32_t l = label[static_cast<std::size_t>(row - 1)];
        return l == NoLabel ? QString() : QString::number(l);
    }

    void setLabel(int row, std::int32_t value) { label[static_cast<std::size_t>(row - 1)] = value; }

    // Rows of the grid including the heading row; new rows are empty. The columns grow in
    // steps, ahead of the rows: cells past the last row are always empty, so a new row needs
    // no work beyond counting it.
    void resizeGrid(int newRows)
    {
        const int data = newRows - 1;
        if (data < rows - 1)
            setRoom(data); // dropped cells must read empty if their rows come back
        else if (data > cells.size())
            setRoom(std::min(std::max(data, cells.size() * 2), MaxReadings));
        rows = newRows;
    }

    // Rarely needed, so kept out of line: resizeGrid stays small enough to be inlined.
    void setRoom(int dataRows);

    void resetGrid(int newRows)
    {
        cells.clear();
        label.clear();
        number.clear();
        judged.clear();
        tally = {};
        rows = 1;
        resizeGrid(newRows);
    }

    std::span<const float> shownValues() const
    {
        if (frame.shownCount <= 0)
            return {};
        return {number.data() + (frame.firstRow - 1), static_cast<std::size_t>(frame.shownCount)};
    }

    // The Y scale in effect: the custom one, or the automatic one around what is plotted.
    void updateYScale()
    {
        if (!y.automatic) {
            frame.yMinimum = y.minimum;
            frame.yMaximum = y.maximum;
            return;
        }
        float low = std::numeric_limits<float>::infinity();
        float high = -std::numeric_limits<float>::infinity();
        for (const float v : shownValues()) { // NaN fails both tests: gaps are skipped
            if (v < low)
                low = v;
            if (v > high)
                high = v;
        }
        if (frame.hasMax) {
            low = std::min(low, frame.maxValue);
            high = std::max(high, frame.maxValue);
        }
        if (frame.hasMin) {
            low = std::min(low, frame.minValue);
            high = std::max(high, frame.minValue);
        }
        for (const auto& [shown, line] : {std::pair{frame.hasUpperLine, frame.upperLine},
                                          std::pair{frame.hasLowerLine, frame.lowerLine}}) {
            if (shown && std::isfinite(line) && std::fabs(line) <= std::numeric_limits<float>::max()) {
                low = std::min(low, static_cast<float>(line));
                high = std::max(high, static_cast<float>(line));
            }
        }
        const ValueScale scale = std::isfinite(low) && std::isfinite(high) ? automaticScale(low, high) : ValueScale{};
        frame.yMinimum = scale.minimum;
        frame.yMaximum = scale.maximum;
    }

    std::size_t bytesHeld() const
    {
        return cells.bytesHeld() + label.capacity() * sizeof(std::int32_t) + number.capacity() * sizeof(float);
    }
};

// While alive, the grid's redrawing is off: no fine-grained signals; the caller announces
// everything at the end.
class DataDocument::Quiet {
public:
    explicit Quiet(DataDocument* doc) : m_doc(doc) { ++m_doc->m_quiet; }
    ~Quiet() { --m_doc->m_quiet; }
    Quiet(const Quiet&) = delete;
    Quiet& operator=(const Quiet&) = delete;

private:
    DataDocument* m_doc;
};

} // namespace quvo
