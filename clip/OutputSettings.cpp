#include "clip/OutputSettings.h"

#include <array>

namespace {

struct Rgb {
    int red;
    int green;
    int blue;
};

// By output index. Output 0 is not marked; its grey is fixed rather than taken from the
// desktop theme so that the registered record is the same on every machine.
constexpr std::array<Rgb, outputSettingsCount> defaultColors{{
    {236, 236, 236}, // neutral grey
    {255, 0, 0},     // red
    {255, 128, 0},   // orange
    {255, 255, 0},   // yellow
    {0, 255, 0},     // green
    {0, 0, 255},     // blue
    {128, 0, 128},   // purple
    {153, 102, 51},  // brown
    {255, 255, 255}, // white
}};

bool isValidOutputIndex(int index) {
    return index >= 0 && index < outputSettingsCount;
}

int hexDigitValue(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    return -1;
}

} // namespace

QString outputSettingsKey(int index) {
    return QStringLiteral("Output Settings %1").arg(index);
}

QColor defaultOutputColor(int index) {
    if (!isValidOutputIndex(index)) {
        return {};
    }
    const Rgb& rgb = defaultColors[static_cast<std::size_t>(index)];
    return QColor(rgb.red, rgb.green, rgb.blue);
}

QVariantMap defaultOutputSettings(int index) {
    if (!isValidOutputIndex(index)) {
        return {};
    }
    const QString name = index == preListenOutputIndex ? QStringLiteral("Pre-listen")
                                                       : QStringLiteral("Output %1").arg(index + 1);
    return {
        {QorvinPrefOutputName, name},
        {QorvinPrefDeviceName, builtInOutputDeviceName},
        {QorvinPrefLeftChannelOutputTag, firstChannelOutputTag},
        {QorvinPrefRightChannelOutputTag, firstChannelOutputTag + 1},
        {QorvinPrefOutputColor, archiveColor(defaultOutputColor(index))},
    };
}

QByteArray archiveColor(const QColor& color) {
    if (!color.isValid()) {
        return {};
    }
    const QRgb rgba = color.rgba();
    return QStringLiteral("#%1%2%3%4")
        .arg(qRed(rgba), 2, 16, QLatin1Char('0'))
        .arg(qGreen(rgba), 2, 16, QLatin1Char('0'))
        .arg(qBlue(rgba), 2, 16, QLatin1Char('0'))
        .arg(qAlpha(rgba), 2, 16, QLatin1Char('0'))
        .toUpper()
        .toLatin1();
}

QColor unarchiveColor(const QByteArray& data) {
    if (data.size() != 9 || data[0] != '#') {
        return {};
    }
    std::array<int, 4> components{};
    for (std::size_t i = 0; i < components.size(); ++i) {
        const int high = hexDigitValue(data[static_cast<qsizetype>(1 + 2 * i)]);
        const int low = hexDigitValue(data[static_cast<qsizetype>(2 + 2 * i)]);
        if (high < 0 || low < 0) {
            return {};
        }
        components[i] = high * 16 + low;
    }
    return QColor(components[0], components[1], components[2], components[3]);
}

QColor outputColor(const QVariantMap& record) {
    const QVariant value = record.value(QorvinPrefOutputColor);
    if (value.typeId() != QMetaType::QByteArray) {
        return {};
    }
    return unarchiveColor(value.toByteArray());
}
