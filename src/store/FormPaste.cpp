#include "store/FormPaste.h"

#include "support/CodePage.h"
#include "support/FilterKey.h"

namespace FormPaste {

QChar typed(const FormFields::Box &box, QChar c)
{
    if (box.upperCase)
        c = c.toUpper();
    if (box.allowed && FilterKey(c.unicode(), QString::fromLatin1(box.allowed), true) == 0)
        return {};
    // A character the report file cannot hold is refused like any other.
    if (c.unicode() >= 0x20 && !CodePage::canEncode(QStringView(&c, 1)))
        return {};
    return c;
}

Result filter(const FormFields::Box &box, const QString &text)
{
    Result r;
    r.text.reserve(text.size());
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
        const QChar k = c.unicode() < 0x20 || c.unicode() == 0x7F ? QChar() : typed(box, c);
        if (k.isNull())
            ++r.refused;
        else
            r.text += k;
    }
    return r;
}

} // namespace FormPaste
