#pragma once

// The figure registry of zelvora-bench. A figure file defines a measuring function and
// registers it with ZELVORA_BENCH_FIGURE; the harness runs them in registration order
// and each prints its lines through printFigure().

#include <QString>
#include <functional>
#include <vector>

struct BenchOptions {
    bool quick = false; // fewer runs, so the whole program finishes within a minute
};

struct BenchFigure {
    const char* group;
    std::function<void(const BenchOptions&)> measure;
};

std::vector<BenchFigure>& benchFigures();

// Prints "name: value unit detail" on standard output (the program's own output).
void printFigure(const QString& name, double value, const QString& unit,
                 const QString& detail = QString());

// Median and 99th percentile of samples (sorted in place).
double medianOf(std::vector<double>& samples);
double percentileOf(std::vector<double>& samples, double percentile);

struct BenchFigureRegistration {
    BenchFigureRegistration(const char* group, std::function<void(const BenchOptions&)> measure) {
        benchFigures().push_back({group, std::move(measure)});
    }
};

#define ZELVORA_BENCH_FIGURE(group, function)                                                      \
    static BenchFigureRegistration benchRegistration_##function(group, function)
