#pragma once

#include <QSet>
#include <QVarLengthArray>

class CDmxElement;

// The state of one walk over element references: the elements on the way down from where
// it started, and what is left of its budget of elements.
struct DmxWalk
{
    QVarLengthArray<const CDmxElement *, 16> path;
    QSet<const CDmxElement *> seen;
    qsizetype budget = 0;
    bool failed = false;

    [[nodiscard]] bool onPath(const CDmxElement *element) const
    {
        for (const CDmxElement *step : path) {
            if (step == element)
                return true;
        }
        return false;
    }
};
