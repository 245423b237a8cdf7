#include "store/ZelvatMsg.h"

#include "support/DatetimeLib.h"
#include "store/ReportFileName.h"
#include "store/ReportVersions.h"
#include "store/ReportWriters.h"
#include "store/SaveStamps.h"
#include "support/CodePage.h"
#include "support/CommonConst.h"
#include "support/Platform.h"
#include "support/SafeFile.h"
#include "support/StringLib.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <algorithm>
#include <optional>

namespace {

using Key = ZelvatMsg::Key;

constexpr char kKeyNames[ZelvatMsg::KeyCount][4] = {
    "TYP", "EID", "MID", "ISS", "AD1", "CTY", "AD2", "LAS", "DTL", "RPN", "RPA", "RPP", "RPC", "AGE", "GDR",
    "CON", "BRE", "PIN", "PDE", "WEA", "DOT", "VDE", "VDP", "VDS", "UID", "ULO", "AST", "ADT", "ATM",
};

// A report file is a few hundred bytes. Anything far larger is not a report, and reading it
// whole would only slow the list down; the same goes for a single line of that size.
constexpr qint64 kMaxFileBytes = 1024 * 1024;
constexpr qsizetype kMaxLineBytes = 64 * 1024;

constexpr Key kGeneralKeys[] = {Key::TYP, Key::EID, Key::MID, Key::ISS, Key::AD1, Key::CTY, Key::AD2,
                                Key::LAS, Key::DTL, Key::RPN, Key::RPA, Key::RPP, Key::RPC};
constexpr Key kMedKeys[] = {Key::AGE, Key::GDR, Key::CON, Key::BRE};
constexpr Key kFireKeys[] = {Key::PIN};
constexpr Key kLawKeys[] = {Key::PDE, Key::WEA, Key::DOT, Key::VDE, Key::VDP, Key::VDS};
constexpr Key kAdminKeys[] = {Key::UID, Key::ULO, Key::AST, Key::ADT, Key::ATM};

constexpr quint32 packKey(const char *k)
{
    return quint32(quint8(k[0])) << 16 | quint32(quint8(k[1])) << 8 | quint8(k[2]);
}

// The field of a key (blanks already trimmed), compared case-sensitively; -1 for none.
int fieldOf(QByteArrayView key)
{
    static constexpr auto packed = [] {
        std::array<quint32, ZelvatMsg::KeyCount> p {};
        for (int i = 0; i < ZelvatMsg::KeyCount; ++i)
            p[i] = packKey(kKeyNames[i]);
        return p;
    }();
    if (key.size() != 3)
        return -1;
    const quint32 k = packKey(key.data());
    for (int i = 0; i < ZelvatMsg::KeyCount; ++i) {
        if (packed[i] == k)
            return i;
    }
    return -1;
}

// Walks the lines of a report file: a line ends at CR LF, a lone CR or a lone LF. `control` is
// set for a line that holds a control character other than the tab. The walk ends when the
// callback returns false.
template <typename F>
void forEachLine(QByteArrayView data, F &&f)
{
    qsizetype pos = 0;
    const qsizetype n = data.size();
    const char *bytes = data.data();
    while (pos < n) {
        qsizetype end = pos;
        bool control = false;
        for (; end < n; ++end) {
            const auto b = static_cast<unsigned char>(bytes[end]);
            if (b >= 0x20 && b != 0x7F)
                continue;
            if (b == '\r' || b == '\n')
                break;
            if (b != '\t')
                control = true;
        }
        const QByteArrayView line(bytes + pos, end - pos);
        pos = end + ((end + 1 < n && bytes[end] == '\r' && bytes[end + 1] == '\n') ? 2 : 1);
        if (!f(line, control))
            return;
    }
}

// Why a line makes the bytes no report file (too long, or holding a control character other
// than the tab), or empty.
QString lineProblem(QByteArrayView line, bool control, int lineNo)
{
    if (line.size() > kMaxLineBytes)
        return QStringLiteral("line %1 is %2 bytes long, a line of a report file at most %3").arg(lineNo).arg(line.size()).arg(kMaxLineBytes);
    if (control)
        return QStringLiteral("line %1 holds control characters").arg(lineNo);
    return QString();
}

// A number field's value as the loader reads it (a 16-bit integer), with `what` naming it in
// the error. A short value is widened on the stack: the loader reads four of them per file.
std::optional<qint64> integerOf(QByteArrayView bytes, const QString &what, RunError *error)
{
    char16_t wide[32];
    const bool plain = bytes.size() <= qsizetype(std::size(wide)) && std::none_of(bytes.begin(), bytes.end(), [](char c) {
        return static_cast<unsigned char>(c) >= 0x80;
    });
    if (!plain)
        return StringLib::toInteger(CodePage::decode(bytes), -32768, 32767, what, error);
    for (qsizetype i = 0; i < bytes.size(); ++i)
        wide[i] = char16_t(static_cast<unsigned char>(bytes[i]));
    return StringLib::toInteger(QStringView(wide, bytes.size()), -32768, 32767, what, error);
}

} // namespace

const std::array<Key, ZelvatMsg::KeyCount> &ZelvatMsg::allKeys()
{
    static const std::array<Key, KeyCount> keys = [] {
        std::array<Key, KeyCount> k {};
        for (int i = 0; i < KeyCount; ++i)
            k[i] = static_cast<Key>(i);
        return k;
    }();
    return keys;
}

QString ZelvatMsg::keyName(Key key)
{
    return QString::fromLatin1(kKeyNames[index(key)]);
}

bool ZelvatMsg::isIntegerKey(Key key)
{
    return key == Key::RPC || key == Key::CON || key == Key::BRE || key == Key::AST;
}

ZelvatMsg::ZelvatMsg(const QString &programFolder)
    : m_folder(QDir(programFolder).filePath(QStringLiteral("msg.d")))
{
}

QString ZelvatMsg::pathFor(const QString &name) const
{
    return m_folder + QLatin1Char('/') + StringLib::trimBlanks(name) + QStringLiteral(".911");
}

QString ZelvatMsg::nameProblem(const QString &name)
{
    const QString n = StringLib::trimBlanks(name);
    if (n.isEmpty())
        return QStringLiteral("the name is empty");
    if (n.contains(QLatin1Char('/')) || n.contains(QLatin1Char('\\')) || n.contains(QStringLiteral("..")))
        return QStringLiteral("the name \"%1\" holds \"/\", \"\\\" or \"..\" and would reach outside the message folder").arg(n);
    for (QChar c : n) {
        if (c.unicode() < 0x20 || c.unicode() == 0x7F)
            return QStringLiteral("the name \"%1\" holds a control character").arg(n);
    }
    // The folder may be shared with positions on Windows, whose file names cannot hold these
    // characters nor begin with a device's name (CON.911 is the console there, not a file).
    static const QString forbidden = QStringLiteral(":*?\"<>|");
    for (QChar c : n) {
        if (forbidden.contains(c))
            return QStringLiteral("the name \"%1\" holds \"%2\", which Windows does not allow in a file name").arg(n, c);
    }
    static const QRegularExpression device(QStringLiteral("^(CON|PRN|AUX|NUL|COM[1-9]|LPT[1-9])(\\.|$)"),
                                           QRegularExpression::CaseInsensitiveOption);
    if (device.match(n).hasMatch())
        return QStringLiteral("the name \"%1\" is a device name on Windows (CON, PRN, AUX, NUL, COM1-9, LPT1-9)").arg(n);
    return {};
}

bool ZelvatMsg::isSafeName(const QString &name)
{
    return nameProblem(name).isEmpty();
}

QString ZelvatMsg::text(Key key) const
{
    return StringLib::trimBlanks(m_text[index(key)]);
}

void ZelvatMsg::setText(Key key, const QString &value)
{
    m_text[index(key)] = StringLib::trimBlanks(value);
}

void ZelvatMsg::Clear()
{
    for (QString &t : m_text)
        t.clear();
    m_number.fill(0);
}

void ZelvatMsg::fail(const RunError &error, const QString &operation, const QString &path, const QString &message)
{
    m_lastError = error.text();
    const QString prefix = operation == QLatin1String("Load") ? QStringLiteral("Zelvat:") : QStringLiteral("Tn911:");
    EventLog::current().error(m_lastError + QStringLiteral("; ") + prefix + operation + QStringLiteral(", FileName = ")
                              + path + QStringLiteral(", Step = ") + QString::number(m_step));
    notify(QStringLiteral("Tn911:") + operation + QStringLiteral(", Step=") + QString::number(m_step)
           + QStringLiteral("\r\n") + message + QStringLiteral("\r\nError=") + error.text());
}

QString ZelvatMsg::contentProblem(QByteArrayView content, int *lineNo)
{
    *lineNo = 0;
    if (content.size() > kMaxFileBytes)
        return QStringLiteral("it holds %1 bytes, a report file at most %2").arg(content.size()).arg(kMaxFileBytes);
    QString why;
    int number = 0;
    forEachLine(content, [&](QByteArrayView line, bool control) {
        ++number;
        if (line.startsWith("[END]"))
            return false;
        why = lineProblem(line, control, number);
        if (why.isEmpty())
            return true;
        *lineNo = number;
        return false;
    });
    return why;
}

bool ZelvatMsg::Load(const QString &name)
{
    const QString trimmed = StringLib::trimBlanks(name);
    if (trimmed.isEmpty())
        return false;
    const QString path = pathFor(trimmed);

    Clear();
    m_step = 1;
    if (const QString why = nameProblem(trimmed); !why.isEmpty()) {
        failLoad(RunError::make(RunError::BadFileName, why), path);
        return false;
    }
    QByteArray data;
    RunError error;
    if (!SafeFile::readAll(path, kMaxFileBytes, &data, &error)) {
        if (error.number == RunError::FileNotFound)
            return false; // no such report: not an error
        m_step = error.number == RunError::InvalidFileFormat ? 2 : 1; // too large to read, or not to be opened
        failLoad(error, path);
        return false;
    }
    if (!parse(data, path))
        return false;
    m_fileName = trimmed;
    m_fileEid = EID();
    return true;
}

bool ZelvatMsg::LoadBytes(QByteArrayView data, const QString &source)
{
    Clear();
    return parse(data, source);
}

void ZelvatMsg::failLoad(const RunError &error, const QString &path)
{
    fail(error, QStringLiteral("Load"), path, QStringLiteral("Problems loading ") + path + QStringLiteral(", please try again"));
}

bool ZelvatMsg::scan(QByteArrayView data, Fields *fields, RunError *error, int *step)
{
    const auto notAReport = [&](const QString &why) {
        *step = 2;
        *error = RunError::make(RunError::InvalidFileFormat, why + QStringLiteral("; this is not a report file"));
        return false;
    };
    if (data.size() > kMaxFileBytes) {
        int line = 0;
        return notAReport(contentProblem(data, &line));
    }
    // One walk over the lines. What makes the bytes no report file at all (a line too long, a
    // control character) is told before a field that cannot be read, wherever it stands; after
    // such a field the walk only looks for that.
    int lineNo = 0;
    bool anyKey = false;
    QString badContent;
    std::optional<RunError> badField;
    forEachLine(data, [&](QByteArrayView line, bool control) {
        ++lineNo;
        if (line.startsWith("[END]"))
            return false;
        badContent = lineProblem(line, control, lineNo);
        if (!badContent.isEmpty())
            return false;
        if (badField)
            return true;
        const qsizetype eq = line.indexOf('=');
        const int field = fieldOf(StringLib::trimBlanks(eq < 0 ? line : line.first(eq)));
        if (field < 0)
            return true;
        anyKey = true;
        const QLatin1StringView keyName(kKeyNames[field]);
        if (eq < 0) {
            badField = RunError::make(RunError::SubscriptOutOfRange,
                                      QStringLiteral("line %1: %2 has no \"=\" and no value").arg(lineNo).arg(keyName));
            return true;
        }
        const QByteArrayView value = line.sliced(eq + 1);
        if (isIntegerKey(Key(field))) {
            // The message naming the line is made only for a value that is no number.
            const auto number = integerOf(value, QString(), nullptr);
            if (!number) {
                badField.emplace();
                integerOf(value, QStringLiteral("line %1: %2=%3").arg(lineNo).arg(keyName, CodePage::decode(value)), &*badField);
                return true;
            }
            fields->number[field] = qint16(*number);
        } else {
            fields->text[field] = value;
        }
        return true;
    });
    if (!badContent.isEmpty())
        return notAReport(badContent);
    if (badField) {
        *step = 3;
        *error = *badField;
        return false;
    }
    if (!anyKey)
        return notAReport(QStringLiteral("it holds no report line"));
    return true;
}

bool ZelvatMsg::readFields(const SafeFile::Folder &folder, const QString &name, QByteArray *buffer, Fields *fields,
                           std::optional<quint64> listedInode)
{
    RunError error;
    int step = 0;
    *fields = Fields();
    if (name.isEmpty() || name.front() == QLatin1Char(' ') || name.back() == QLatin1Char(' ') || !nameProblem(name).isEmpty())
        return false;
    const QString fileName = name + QStringLiteral(".911");
    const bool read = listedInode ? folder.readListed(fileName, *listedInode, kMaxFileBytes, buffer, &error)
                                  : folder.readAll(fileName, kMaxFileBytes, buffer, &error);
    return read && scan(*buffer, fields, &error, &step);
}

bool ZelvatMsg::parse(QByteArrayView data, const QString &path)
{
    Fields fields;
    RunError error;
    const bool read = scan(data, &fields, &error, &m_step);
    // A field that cannot be read leaves the record with the fields before it, as far as the
    // reading went; bytes that are no report file leave it empty.
    if (read || m_step == 3) {
        for (int f = 0; f < KeyCount; ++f) {
            if (isIntegerKey(Key(f)))
                m_number[f] = fields.number[f];
            else
                m_text[f] = CodePage::decode(fields.text[f]);
        }
    }
    if (!read) {
        failLoad(error, path);
        return false;
    }
    m_step = 5;
    return true;
}

QByteArray ZelvatMsg::fileContent(const QString &writeStamp, bool everyField) const
{
    QByteArray out;
    out.reserve(768);
    auto line = [&out](QByteArrayView bytes) {
        out += bytes;
        out += "\r\n";
    };
    auto fields = [&](auto const &keys) {
        for (Key k : keys) {
            out += kKeyNames[index(k)];
            out += '=';
            if (isIntegerKey(k))
                out += QByteArray::number(m_number[index(k)]);
            else // a line break inside a value would split its line: it goes out as the "\n" escape
                out += CodePage::encode(escapeBreaks(m_text[index(k)]));
            out += "\r\n";
        }
    };
    const QString typ = m_text[index(Key::TYP)];
    line("[911 DEFINITION]");
    line("Version=" + CodePage::encode(writeStamp));
    fields(kGeneralKeys);
    if (everyField || typ.contains(QLatin1String("MED"))) {
        line("[MED DEFINITION]");
        fields(kMedKeys);
    }
    if (everyField || typ.contains(QLatin1String("FIRE"))) {
        line("[FIRE DEFINITION]");
        fields(kFireKeys);
    }
    if (everyField || typ.contains(QLatin1String("LAW"))) {
        line("[LAW DEFINITION]");
        fields(kLawKeys);
    }
    if (everyField || typ.contains(QLatin1String("LGOV")))
        line("[LGOV DEFINITION]");
    line("[ADMIN DEFINITION]");
    fields(kAdminKeys);
    line("[END]");
    return out;
}

namespace {

QString versionNotKept(const QString &path)
{
    return QStringLiteral("The version of '%1' that stands now could not be kept as an earlier version, so it was "
                          "not replaced: nothing was changed. Make room or repair the message folder's .versions "
                          "folder, then try again.")
        .arg(path);
}

} // namespace

bool ZelvatMsg::writeFile(const QString &path)
{
    const QString problem = QStringLiteral("Problems saving '") + path + QStringLiteral("', please try again");
    const QString stamp = Zelvat::versionText() + QLatin1Char('/') + DatetimeLib::writeStamp(DatetimeLib::now());

    // The old file is not deleted before the new one is written: the new content goes to a
    // temporary file beside it, which replaces the old one only once every byte is on the disk.
    const QFileInfo info(path);
    m_step = 2;
    if (!info.dir().exists()) {
        fail(RunError::make(RunError::PathNotFound, QStringLiteral("the message folder %1 does not exist").arg(m_folder)),
             QStringLiteral("Fadd"), path, problem);
        return false;
    }
    if (info.isFile() && !info.isSymLink() && !(info.permissions() & QFileDevice::WriteOwner)) {
        fail(RunError::make(RunError::PathFileAccessError, QStringLiteral("the report file is read-only")),
             QStringLiteral("Fadd"), path, problem);
        return false;
    }
    m_step = 3;
    const QByteArray content = fileContent(stamp);
    // What is written must read back: the loader's own limits are checked before anything is.
    Key key = Key(-1);
    if (!problemIn(content, &key).isEmpty()) {
        const QString field = int(key) >= 0 ? keyName(key) + QLatin1Char(' ') : QString();
        fail(RunError::make(RunError::InvalidFileFormat, field + storageProblem()), QStringLiteral("Fadd"), path, problem);
        return false;
    }
    m_step = 4;
    RunError error;
    QString fileName = info.fileName();
    fileName.chop(ReportFileName::Extension.size());
    // The version it replaces is kept first; one that cannot be kept is not replaced.
    if (!ReportVersions(m_folder).keep(fileName, &error)) {
        fail(error, QStringLiteral("Fadd"), path, versionNotKept(path));
        return false;
    }
    if (!SafeFile::writeAtomically(path, content, &error)) {
        fail(error, QStringLiteral("Fadd"), path, problem);
        return false;
    }
    // The other positions on the folder learn who wrote it; the report is saved either way.
    ReportWriters::record(m_folder, fileName);
    return true;
}

QString ZelvatMsg::storageProblem(Key *key) const
{
    const QByteArray content =
        fileContent(Zelvat::versionText() + QLatin1Char('/') + DatetimeLib::writeStamp(DatetimeLib::now()));
    Key field = Key(-1);
    if (problemIn(content, &field).isEmpty())
        return {};
    if (key)
        *key = field;
    if (int(field) < 0)
        return QStringLiteral("the report as a whole holds %1 bytes; a report file holds at most %2")
            .arg(content.size())
            .arg(kMaxFileBytes);
    const QByteArray value = CodePage::encode(escapeBreaks(m_text[index(field)]));
    for (const char c : value) {
        const auto b = static_cast<unsigned char>(c);
        if ((b < 0x20 && b != '\t') || b == 0x7F)
            return QStringLiteral("holds a control character (0x%1)").arg(b, 2, 16, QLatin1Char('0'));
    }
    return QStringLiteral("holds %1 characters; at most %2 fit").arg(value.size()).arg(kMaxLineBytes - 4);
}

QString ZelvatMsg::problemIn(const QByteArray &content, Key *key)
{
    int line = 0;
    const QString why = contentProblem(content, &line);
    if (why.isEmpty() || !key)
        return why;
    *key = Key(-1);
    int at = 0;
    forEachLine(content, [&](QByteArrayView l, bool) {
        if (++at < line)
            return true;
        const int field = fieldOf(l.first(std::min<qsizetype>(l.size(), 3)));
        if (field >= 0)
            *key = Key(field);
        return false;
    });
    return why;
}

bool ZelvatMsg::Fadd()
{
    // The report read from a file goes back into that file, whatever its name; a record given
    // another event ID is another report, saved under its own.
    const QString name = !m_fileName.isEmpty() && EID() == m_fileEid ? m_fileName : EID();
    if (const QString why = nameProblem(name); !why.isEmpty()) {
        m_step = 1;
        const QString path = pathFor(name);
        fail(RunError::make(RunError::BadFileName, name.isEmpty() ? QStringLiteral("the report has no event number") : why),
             QStringLiteral("Fadd"), path, QStringLiteral("Problems saving '") + path + QStringLiteral("', please try again"));
        return false;
    }
    if (!writeFile(pathFor(name)))
        return false;
    m_fileName = StringLib::trimBlanks(name);
    m_fileEid = EID();
    return true;
}

bool ZelvatMsg::Fdelete(const QString &name, qint16 state)
{
    const QString path = pathFor(name);
    const QString problem = QStringLiteral("Problems deleting ") + path + QStringLiteral(", please try again");
    m_step = 1;
    if (const QString why = nameProblem(name); !why.isEmpty()) {
        fail(RunError::make(RunError::BadFileName, why), QStringLiteral("Fdelete"), path, problem);
        return false;
    }
    // Nothing that does not load as a report is removed or rewritten: a report that cannot be
    // read whole is left as it is rather than rewritten with less than it held, and what is no
    // report file at all (a folder, a named pipe, a link) is never touched.
    if (SafeFile::kindOf(path) == SafeFile::Kind::Missing)
        return state == Zelvat::StateDeleted; // nothing left to remove is no error
    if (!Load(name))
        return false;
    if (state == Zelvat::StateDeleted) {
        RunError error;
        if (!ReportVersions(m_folder).keep(StringLib::trimBlanks(name), &error)) {
            fail(error, QStringLiteral("Fdelete"), path, versionNotKept(path));
            return false;
        }
        QFile file(path);
        if (!file.remove()) {
            fail(RunError::fromFile(file), QStringLiteral("Fdelete"), path, problem);
            return false;
        }
        return true;
    }
    // The marked report goes back into the file it came from, whatever its EID says.
    setAST(Zelvat::StateDeleted);
    return writeFile(path);
}

QList<ZelvatMsg::Listed> ZelvatMsg::listFiles() const
{
    // Every entry named like a report, whatever it is: what is no report file is listed too, so
    // that the operator sees it; the loader refuses it. The folder is read as it stands, nothing
    // looked at but the entries: a list of thousands.
    QList<SafeFile::Entry> entries;
    SafeFile::Folder(m_folder).list(ReportFileName::Extension, SafeFile::Folder::Look::Names, &entries);
    QList<Listed> files;
    files.reserve(entries.size());
    for (const SafeFile::Entry &entry : entries) {
        QString excluded;
        const QString name = ReportFileName::listedName(entry.fileName, m_folder, &excluded);
        if (name.isNull())
            EventLog::current().error(excluded);
        else
            files.append({name, entry.kind == SafeFile::Kind::Regular ? entry.inode : 0});
    }
    return files;
}

QStringList ZelvatMsg::fileNames() const
{
    QStringList names;
    for (const Listed &file : listFiles())
        names.append(file.name);
    return names;
}

QString ZelvatMsg::BuildFileList() const
{
    return fileNames().join(QStringLiteral("\r\n"));
}

bool ZelvatMsg::Exists(const QString &name) const
{
    return fileNames().contains(StringLib::trimBlanks(name));
}

bool ZelvatMsg::IsReadOnly(const QString &name) const
{
    const QFileInfo info(pathFor(name));
    return info.exists() && !(info.permissions() & QFileDevice::WriteOwner);
}
