#pragma once

#include <QDir>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>
#include <QThread>

#ifdef Q_OS_WIN
#include <windows.h>
#endif

// Readers for what the hand-over writes, independent of the code that writes it.
namespace Csv {

// Strict RFC 4180: records end with CR LF; quoted fields may hold commas, CR, LF, doubled quotes;
// anything else (a stray quote, a lone CR or LF, text after a closing quote) is an error: false.
inline bool parse(const QString &text, QList<QStringList> *rows)
{
    rows->clear();
    QStringList row;
    QString field;
    bool quoted = false, closed = false; // inside quotes; just after the closing quote
    const auto at = [&text](qsizetype i) { return i < text.size() ? text[i] : QChar(); };
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        if (quoted && c == '"' && at(i + 1) == '"') {
            field += text[++i];
        } else if (quoted) {
            if (c == '"')
                quoted = false, closed = true;
            else
                field += c;
        } else if (c == ',' || (c == '\r' && at(++i) == '\n')) {
            row << std::exchange(field, {});
            closed = false;
            if (c == '\r')
                rows->append(std::exchange(row, {}));
        } else if (c == '"' && field.isEmpty() && !closed) {
            quoted = true;
        } else if (c == '"' || c == '\r' || c == '\n' || closed) {
            return false;
        } else {
            field += c;
        }
    }
    return !quoted && row.isEmpty() && field.isEmpty();
}

} // namespace Csv

namespace Pdf {

// What a poppler tool prints; empty when it failed.
inline QByteArray run(const QString &tool, QStringList args)
{
    QProcess p;
#ifdef Q_OS_WIN
    // Under Wine the tools are this machine's own, given Unix paths. Wine starts a Unix program
    // without waiting for it, so it writes what it prints to a file, and the file is waited for.
    using UnixName = char *(__cdecl *)(const wchar_t *);
    if (const auto unixName = reinterpret_cast<UnixName>(reinterpret_cast<void *>(GetProcAddress(GetModuleHandleW(L"kernel32"), "wine_get_unix_file_name")))) {
        const auto toUnix = [unixName](const QString &path) {
            char *name = unixName(reinterpret_cast<const wchar_t *>(QDir::toNativeSeparators(path).utf16()));
            const QString unix = QString::fromUtf8(name);
            HeapFree(GetProcessHeap(), 0, name);
            return unix;
        };
        for (QString &arg : args) {
            if (arg.size() > 2 && arg[1] == QLatin1Char(':'))
                arg = toUnix(arg);
        }
        QTemporaryDir dir;
        const QString done = dir.filePath(QStringLiteral("out"));
        QProcess::startDetached(QStringLiteral("Z:/bin/sh"), QStringList{QStringLiteral("-c"),
                QStringLiteral("if \"$@\" > \"$0.part\"; then mv \"$0.part\" \"$0\"; else : > \"$0\"; fi"),
                toUnix(done), QStringLiteral("/usr/bin/") + tool} + args);
        for (int waited = 0; !QFile::exists(done) && waited < 60000; waited += 50)
            QThread::msleep(50);
        QFile out(done);
        return out.open(QIODevice::ReadOnly) ? out.readAll() : QByteArray();
    }
    p.start(tool, args);
#else
    p.start(tool, args);
#endif
    return p.waitForFinished(60000) && p.exitCode() == 0 ? p.readAllStandardOutput() : QByteArray();
}
inline QString text(const QString &path) // the pages in their physical layout, each ended by a form feed
{
    return QString::fromUtf8(run(QStringLiteral("pdftotext"), {QStringLiteral("-layout"), path, QStringLiteral("-")}));
}
inline int pages(const QString &path)
{
    return int(text(path).count(QLatin1Char('\f')));
}

} // namespace Pdf
