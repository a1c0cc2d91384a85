// zelvora-bench: runs every registered figure and prints it. Options:
//   --quick          fewer repetitions (under a minute on a 2-core machine)
//   --only <group>   run one group of figures (media, clip, preset, app)

#include "bench/BenchFigure.h"

#include <QApplication>
#include <QLoggingCategory>
#include <QTemporaryDir>
#include <algorithm>
#include <cmath>
#include <cstdio>

std::vector<BenchFigure>& benchFigures() {
    static std::vector<BenchFigure> figures;
    return figures;
}

void printFigure(const QString& name, double value, const QString& unit, const QString& detail) {
    QString line = QStringLiteral("%1: %2 %3").arg(name).arg(value, 0, 'f', 3).arg(unit);
    if (!detail.isEmpty()) {
        line += QLatin1Char(' ') + detail;
    }
    std::printf("%s\n", qPrintable(line));
    std::fflush(stdout);
}

double medianOf(std::vector<double>& samples) {
    return percentileOf(samples, 50.0);
}

double percentileOf(std::vector<double>& samples, double percentile) {
    if (samples.empty()) {
        return 0.0;
    }
    std::sort(samples.begin(), samples.end());
    const double rank = percentile / 100.0 * double(samples.size() - 1);
    return samples[size_t(std::lround(rank))];
}

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    // Figures are measured on the null back end and must not touch the user's settings.
    qputenv("ZELVORA_AUDIO", "null");
    QTemporaryDir home;
    qputenv("XDG_CONFIG_HOME", (home.path() + "/config").toUtf8());
    qputenv("XDG_DATA_HOME", (home.path() + "/data").toUtf8());
    QApplication app(argc, argv);
    // The program's own info lines (a clip started, a device opened) would bury the figures.
    QLoggingCategory::setFilterRules(QStringLiteral("zelvora.*.info=false"));

    BenchOptions options;
    QString only;
    const QStringList args = app.arguments();
    for (int i = 1; i < args.size(); ++i) {
        if (args[i] == QLatin1String("--quick")) {
            options.quick = true;
        } else if (args[i] == QLatin1String("--only") && i + 1 < args.size()) {
            only = args[++i];
        }
    }
    for (const BenchFigure& figure : benchFigures()) {
        if (only.isEmpty() || only == QLatin1String(figure.group)) {
            figure.measure(options);
        }
    }
    return 0;
}
