#pragma once

#include "store/ZelvatMsg.h"
#include "support/SafeFile.h"

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>

// What became of a report file since a form loaded it, decided without a widget: the form keeps
// what it loaded (the file's identity and bytes) and, before each write, under the report's lock,
// asks whether the file is still that one. When it is not, nothing is written until the operator
// has seen who changed it, when, and which fields differ.
class ReportConflict {
public:
    enum class Kind {
        Unchanged, // the file is the one loaded (or, for a report never saved, still absent)
        Changed,   // another program wrote it since
        Submitted, // it was submitted elsewhere: never written back to Draft or Ready
        Deleted,   // it was deleted elsewhere: written again only by an undelete that says so
        Removed,   // its file is gone
    };

    // A report file as one look found it: its identity and its bytes (kind Missing, no bytes,
    // when there was no file). The bytes are the identity's: the file is looked up before and
    // after it is read, and read again should it have changed in between.
    static SafeFile::Entry absent()
    {
        SafeFile::Entry none;
        none.kind = SafeFile::Kind::Missing;
        return none;
    }
    struct Seen {
        SafeFile::Entry file = absent();
        QByteArray bytes;
        bool present() const { return file.kind != SafeFile::Kind::Missing; }
    };

    // One field that differs: the form's caption for it, their value, the operator's.
    struct Difference {
        QString field;
        QString theirs;
        QString mine;
    };

    struct Finding {
        Kind kind = Kind::Unchanged;
        Seen now;                       // the file as it stands
        QList<Difference> differences;  // theirs beside mine; none for a file removed
        QString writer;                 // "NRT (Pat Smith, 1234)", or "another program"
        QDateTime when;                 // the file's modification time (invalid when removed)
        qint16 theirState = 0;          // the state their file holds
    };

    // The report `name` of `messageFolder` as it stands.
    static Seen look(const QString &messageFolder, const QString &name);
    // Loads `record` from its file and gives the identity of what was loaded; false as Load.
    static bool load(ZelvatMsg &record, const QString &name, Seen *seen);

    // The report `name` as `mine` would write it in `state`, against what was seen when it was
    // loaded: the file is looked at again. A report submitted or deleted elsewhere is named as
    // such when `state` would put it back among the drafts or the reports ready to send.
    static Finding examine(const ZelvatMsg &mine, const QString &name, const Seen &seen, qint16 state);

    // Two looks at one version of a file: the same kind, size, modification time and inode.
    static bool sameFile(const SafeFile::Entry &a, const SafeFile::Entry &b);
    // Their record, read from the bytes of a look into a copy of `like` (its folder and the file
    // it belongs to); empty fields when the bytes read as no report.
    static ZelvatMsg recordOf(const ZelvatMsg &like, const Seen &seen);
    // The fields a form shows that differ between two records, in the form's order, under its
    // captions: the event types, every box, the medical answers and the state.
    static QList<Difference> differences(const ZelvatMsg &theirs, const ZelvatMsg &mine);

    // "NRT (Pat Smith, 1234)" for the position whose note names this version, else "another program".
    static QString writerOf(const QString &messageFolder, const QString &name, const SafeFile::Entry &file);
    // What happened, in a sentence for the operator: "Changed at NRT (Pat Smith, 1234) at 14:05".
    static QString headline(const Finding &finding);
    // The operator's input as plain text for the clipboard: a line per field the form shows
    // filled, "Caption: value" (a box of several lines keeps its lines).
    static QString inputText(const ZelvatMsg &mine);
};
