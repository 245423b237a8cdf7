#include "store/ReportWriters.h"

#include "store/SharedFolder.h"

#include <QList>

namespace {

QString notePath(const QString &messageFolder, const QString &name)
{
    return SharedFolder::writers(messageFolder) + QLatin1Char('/') + name;
}

// The first line of a note: "size<TAB>modified ns<TAB>inode".
QByteArray identityLine(const SafeFile::Entry &file)
{
    return QByteArray::number(file.size) + '\t' + QByteArray::number(file.modifiedNs) + '\t'
           + QByteArray::number(file.inode);
}

constexpr qint64 kMaxNoteBytes = 4096;

} // namespace

bool ReportWriters::record(const QString &messageFolder, const QString &name, RunError *error)
{
    SafeFile::Entry file;
    if (!SafeFile::Folder(messageFolder).lookUp(name + QStringLiteral(".911"), &file) || file.kind != SafeFile::Kind::Regular) {
        if (error)
            *error = RunError::make(RunError::FileNotFound, QStringLiteral("the report %1 is not there").arg(name));
        return false;
    }
    const QString folder = SharedFolder::writers(messageFolder);
    if (!SharedFolder::ensure(folder, error))
        return false;
    const QByteArray note = identityLine(file) + '\n' + Position::current().toLine() + '\n';
    return SafeFile::writeAtomically(notePath(messageFolder, name), note, error, SafeFile::Flush::Later);
}

std::optional<Position> ReportWriters::writerOf(const QString &messageFolder, const QString &name,
                                                const SafeFile::Entry &file)
{
    QByteArray note;
    RunError error;
    if (file.kind != SafeFile::Kind::Regular
        || !SafeFile::readAll(notePath(messageFolder, name), kMaxNoteBytes, &note, &error))
        return std::nullopt;
    const QList<QByteArray> lines = note.split('\n');
    if (lines.size() < 2 || lines[0] != identityLine(file))
        return std::nullopt;
    return Position::fromLine(lines[1]);
}
