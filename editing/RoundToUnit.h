#pragma once

// The multiple of `unit` nearest to `value`, halves rounded away from zero:
// unit * lround(value / unit). The timecode formatter snaps fractions to frames with it.
// A quotient that lround cannot represent (NaN, beyond the long range) rounds to LONG_MIN,
// as the C library leaves it on this platform. Any thread.
double RoundToUnit(double value, double unit);
