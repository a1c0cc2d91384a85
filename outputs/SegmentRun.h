#pragma once

// Equal segments laid end to end along one axis, as the progress bar and the level meter
// draw them: each `bar` long, `space` apart, the first starting at `start`. Any thread.

class SegmentRun {
public:
    SegmentRun(int start, int bar, int space);

    int pitch() const { return _bar + _space; }
    int bar() const { return _bar; }
    // Where segment `index` starts.
    int position(int index) const { return _start + index * pitch(); }
    // How many segments, from the first, end (position + bar) at or before `limit`.
    int countEndingBy(double limit) const;

private:
    int _start;
    int _bar;
    int _space;
};
