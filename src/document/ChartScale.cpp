#include "document/ChartScale.h"

#include <cmath>

namespace quvo {

namespace {

// A step of 1, 2 or 5 times 10^exponent: the smallest such step not below `raw`.
struct Step {
    double mantissa = 1;
    int exponent = 0;
    double value() const { return exponent >= 0 ? mantissa * std::pow(10.0, exponent) : mantissa / std::pow(10.0, -exponent); }
};

Step niceStep(double raw)
{
    int exponent = static_cast<int>(std::floor(std::log10(raw)));
    const double base = exponent >= 0 ? std::pow(10.0, exponent) : 1.0 / std::pow(10.0, -exponent);
    const double fraction = raw / base; // 1 <= fraction < 10 (up to rounding)
    double mantissa = 10;
    if (fraction <= 1.0000001)
        mantissa = 1;
    else if (fraction <= 2.0000001)
        mantissa = 2;
    else if (fraction <= 5.0000001)
        mantissa = 5;
    if (mantissa == 10) {
        mantissa = 1;
        ++exponent;
    }
    return {mantissa, exponent};
}

// k × step written as exactly as a double allows: k × mantissa scaled by a whole power of ten.
double multiple(double k, const Step& step)
{
    const double units = k * step.mantissa;
    return step.exponent >= 0 ? units * std::pow(10.0, step.exponent) : units / std::pow(10.0, -step.exponent);
}

} // namespace

ValueScale automaticScale(double lowest, double highest)
{
    if (!(lowest <= highest))
        return {0, 10};
    if (lowest == highest) {
        const double margin = lowest == 0 ? 0.5 : std::fabs(lowest) / 10;
        lowest -= margin;
        highest += margin;
    }
    const Step step = niceStep((highest - lowest) / 5);
    const double size = step.value();
    // A hair of tolerance so that a value lying on a step is not pushed out by rounding.
    const double kLow = std::floor(lowest / size + 1e-9);
    const double kHigh = std::ceil(highest / size - 1e-9);
    ValueScale scale{multiple(kLow, step), multiple(kHigh, step)};
    if (scale.minimum == 0)
        scale.minimum = 0; // no "-0"
    if (scale.maximum == 0)
        scale.maximum = 0;
    return scale;
}

} // namespace quvo
