#include "pelmor/platform/PlatformString.h"
#include "pelmor/platform/MemoryShortage.h"

namespace Platform {
namespace String {

QString WQ(const XString& text) {
    try {
        QString out;
        out.reserve(static_cast<int>(text.size()));
        for (wchar_t unit : text) {
            auto cp = static_cast<char32_t>(unit);
            if (cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) cp = 0xFFFD;
            if (cp >= 0x10000) {
                out.append(QChar(QChar::highSurrogate(cp)));
                out.append(QChar(QChar::lowSurrogate(cp)));
            } else {
                out.append(QChar(static_cast<char16_t>(cp)));
            }
        }
        return out;
    } catch (...) {
        Pelmor::NoteMemoryShortage();
        return QString();
    }
}

XString QW(const QString& text) {
    try {
        XString out;
        out.reserve(static_cast<size_t>(text.size()));
        const int n = text.size();
        for (int i = 0; i < n; ++i) {
            const QChar unit = text.at(i);
            if (unit.isHighSurrogate() && i + 1 < n && text.at(i + 1).isLowSurrogate()) {
                out.push_back(static_cast<wchar_t>(QChar::surrogateToUcs4(unit, text.at(i + 1))));
                ++i;
            } else if (unit.isSurrogate()) {
                out.push_back(static_cast<wchar_t>(0xFFFD));
            } else {
                out.push_back(static_cast<wchar_t>(unit.unicode()));
            }
        }
        return out;
    } catch (...) {
        Pelmor::NoteMemoryShortage();
        return XString();
    }
}

}  // namespace String
}  // namespace Platform
