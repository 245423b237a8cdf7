#pragma once

#include "store/Position.h"
#include "support/RunError.h"
#include "support/SafeFile.h"

#include <QDateTime>
#include <QHash>
#include <QList>
#include <QString>
#include <optional>

// Who has a report open in a report form, for the positions that share its message folder: a
// mark per report and position in msg.d/.inuse, "NAME@PID@HOST.mark", holding the position's
// line and since when the report is open. The form refreshes its mark while it stays open and
// removes it when it closes; a mark that is not refreshed for 30 seconds, or whose process is
// known gone, no longer counts, so that a position that ended without a word holds nothing.
// A look is one listing of that small folder: only marks whose identity changed since the last
// look of the same object are read, and no report file is ever read for it.
class InUseMarks {
public:
    struct Mark {
        QString name;       // the report
        Position position;  // who has it open
        QDateTime since;    // since when (UTC)
    };

    explicit InUseMarks(const QString &messageFolder);
    // The marks of this object that are still there are removed.
    ~InUseMarks();
    InUseMarks(const InUseMarks &) = delete;
    InUseMarks &operator=(const InUseMarks &) = delete;

    // Marks the report `name` open at this position from now (again, keeping the first time).
    bool mark(const QString &name, RunError *error = nullptr);
    // Writes every mark of this object again, so that it stays live.
    bool refresh(RunError *error = nullptr);
    // Removes this position's mark of `name`.
    void unmark(const QString &name);
    QStringList marked() const { return m_own.keys(); }

    // Every live mark of another position (this process's own never count), by report name.
    QList<Mark> look();
    QList<Mark> marksOf(const QString &name);
    // The first live mark of `name` of another position, or nullopt.
    std::optional<Mark> isOpenElsewhere(const QString &name);

    // "Open at NRT (Pat Smith, 1234) since 14:02" (local time).
    static QString describe(const Mark &mark);
    // The same with the report's name first: "R1 is open at ... since 14:02".
    static QString describeReport(const Mark &mark);

    // Before the list deletes `names`: the question that says which of them a report form has
    // open, the form of this program (`openHere`, the report it holds, if any) or one at another
    // position, so that its work is not gone over without a word; empty when none is open.
    QString deleteQuestion(const QStringList &names, const QString &openHere);

    // How long a mark counts after its last write, and how often a form writes it again.
    static constexpr qint64 kStaleMs = 30000;
    static constexpr int kRefreshMs = 10000;

private:
    QString pathOf(const QString &name) const;
    QString folder() const;
    std::optional<Mark> readMark(const SafeFile::Folder &dir, const SafeFile::Entry &entry);
    bool live(const Mark &mark, const SafeFile::Entry &entry) const;
    void measureClock();
    void nameOnce(const SafeFile::Entry &entry, const QString &why);

    QString m_messageFolder;
    QHash<QString, QDateTime> m_own; // name -> since, the marks this object wrote
    struct Seen {
        qint64 size;
        qint64 modifiedNs;
        quint64 inode;
        std::optional<Mark> mark; // nullopt: garbage, named already
    };
    QHash<QString, Seen> m_seen; // file name -> what it held at that identity
    // The difference between the clock that stamps files in the folder and this machine's
    // clock, measured on a file this object wrote; nullopt until measured.
    std::optional<qint64> m_clockOffsetMs;
};
