#include "outputs/SegmentRun.h"

#include <cmath>

SegmentRun::SegmentRun(int start, int bar, int space)
    : _start(start)
    , _bar(bar)
    , _space(space) {}

int SegmentRun::countEndingBy(double limit) const {
    if (pitch() <= 0 || _bar < 0 || !(limit >= _start + _bar)) {
        return 0;
    }
    int count = static_cast<int>(std::floor((limit - _start - _bar) / pitch())) + 1;
    // The division may round up across a segment boundary; the edge test is the rule.
    while (count > 0 && position(count - 1) + _bar > limit) {
        --count;
    }
    return count;
}
