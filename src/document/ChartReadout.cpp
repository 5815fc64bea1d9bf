#include "document/ChartReadout.h"

#include "document/DataDocument.h"

#include <algorithm>
#include <cmath>

namespace quvo {

int nearestReading(std::span<const float> values, double key, const ReadableArea& area, double reach)
{
    if (!std::isfinite(key) || !(reach >= 0))
        return 0;
    const int first = std::max(area.first, 1);
    const int last = static_cast<int>(std::min<long long>(area.last, static_cast<long long>(values.size())));
    if (first > last)
        return 0;
    reach = std::min(reach, static_cast<double>(values.size()) + 1);
    const auto isReading = [&values, &area](int point) {
        const float value = values[static_cast<std::size_t>(point - 1)];
        return !std::isnan(value) && value >= area.lowest && value <= area.highest;
    };

    // Walk outwards from the key on both sides at once, taking the nearer side first.
    const double clamped = std::clamp(key, static_cast<double>(first) - reach - 1, static_cast<double>(last) + reach + 1);
    int left = static_cast<int>(std::floor(clamped));
    int right = left + 1;
    while (left >= first || right <= last) {
        const double leftDistance = left >= first ? key - left : INFINITY;
        const double rightDistance = right <= last ? right - key : INFINITY;
        const bool takeLeft = leftDistance <= rightDistance;
        const double distance = takeLeft ? leftDistance : rightDistance;
        if (!(distance <= reach))
            return 0;
        if (takeLeft) {
            if (left <= last && isReading(left))
                return left;
            --left;
        } else {
            if (right >= first && isReading(right))
                return right;
            ++right;
        }
    }
    return 0;
}

QString readoutText(const DataDocument& document, int row)
{
    const QString number = document.TextMatrix(row, 0);
    const QString time = document.TextMatrix(row, 1);
    const QString value = document.TextMatrix(row, 2);
    const QString unit = document.TextMatrix(row, 3).trimmed();
    QStringList lines;
    lines << document.TextMatrix(0, 0) + QLatin1Char(' ') + number;
    if (!time.isEmpty())
        lines << document.TextMatrix(0, 1) + QLatin1Char(' ') + time;
    lines << document.TextMatrix(0, 2) + QLatin1Char(' ') + value + (unit.isEmpty() ? QString() : QLatin1Char(' ') + unit);
    return lines.join(QLatin1Char('\n'));
}

} // namespace quvo
