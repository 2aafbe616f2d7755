#pragma once

#include <QtGlobal>

#include <cmath>
#include <limits>

// TIME values are kept in files as whole ten-thousandths of a second.
namespace DmxTicks {

// The seconds times 10000 as a float, truncated; out of range saturates and NaN gives 0.
inline qint32 fromSeconds(float seconds)
{
    const float ticks = seconds * 10000.0f;
    if (std::isnan(ticks))
        return 0;
    if (ticks >= 2147483648.0f)
        return std::numeric_limits<qint32>::max();
    if (ticks <= -2147483648.0f)
        return std::numeric_limits<qint32>::min();
    return qint32(ticks);
}

inline float toSeconds(qint32 ticks)
{
    return float(double(ticks) / 10000.0);
}

} // namespace DmxTicks
