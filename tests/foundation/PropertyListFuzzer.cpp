// libFuzzer target for the property-list reader. Any input must either be refused with a
// one-line message, or read as a value that writes back to XML and reads again as the
// same XML; anything else (a crash, a sanitizer report, a broken round trip) is a find.
// Built with -DZELVORA_FUZZ=ON under clang; see tests/foundation/CMakeLists.txt.

#include "foundation/PropertyList.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

[[noreturn]] void report(const char* what, const QString& detail) {
    std::fprintf(stderr, "%s: %s\n", what, detail.toUtf8().constData());
    std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    const QByteArray input(reinterpret_cast<const char*>(bytes), qsizetype(size));
    QString error;
    const QVariant value = PropertyList::fromData(input, &error);
    if (!value.isValid()) {
        if (error.isEmpty() || error.contains(u'\n')) {
            report("refused without a one-line message", error);
        }
        return 0;
    }
    const QByteArray xml = PropertyList::toXml(value, &error);
    if (xml.isEmpty()) {
        // Text that a binary file may hold but XML cannot carry is the one refusal.
        if (!error.contains(QStringLiteral("XML cannot carry"))) {
            report("a value that was read cannot be written", error);
        }
        return 0;
    }
    const QVariant again = PropertyList::fromData(xml, &error);
    if (!again.isValid()) {
        report("our own XML was refused", error);
    }
    if (PropertyList::toXml(again) != xml) {
        report("the XML changed on a second round trip", QString::fromUtf8(xml));
    }
    return 0;
}
