#include "store/FormPaste.h"

#include "support/CodePage.h"
#include "support/FilterKey.h"

namespace FormPaste {

Result filter(const FormFields::Box &box, const QString &text)
{
    Result r;
    r.text.reserve(text.size());
    const QString allowed = box.allowed ? QString::fromLatin1(box.allowed) : QString();
    for (qsizetype i = 0; i < text.size(); ++i) {
        QChar c = text[i];
        if (c == QLatin1Char('\r') || c == QLatin1Char('\n')) {
            // CR LF is one break.
            if (c == QLatin1Char('\r') && i + 1 < text.size() && text[i + 1] == QLatin1Char('\n'))
                ++i;
            r.text += box.multiLine ? QLatin1Char('\n') : QLatin1Char(' ');
            continue;
        }
        if (c == QLatin1Char('\t'))
            c = QLatin1Char(' ');
        if (box.upperCase)
            c = c.toUpper();
        const bool kept = c.unicode() >= 0x20 && c.unicode() != 0x7F && (!box.allowed || FilterKey(c.unicode(), allowed, false) != 0)
            && CodePage::canEncode(QStringView(&c, 1));
        if (kept)
            r.text += c;
        else
            ++r.refused;
    }
    return r;
}

} // namespace FormPaste
