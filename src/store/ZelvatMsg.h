#pragma once

#include "support/RunError.h"

#include <QString>
#include <QStringList>
#include <array>
#include <optional>

namespace SafeFile {
class Folder;
}

// One incident report: its 29 fields, and the operations on its ".911" file in the message
// folder (program folder + "/msg.d"). It is the only code that reads, writes, deletes and
// lists report files.
class ZelvatMsg {
public:
    // The fields in the order of their lines in a report file.
    enum class Key : int {
        TYP, EID, MID, ISS, AD1, CTY, AD2, LAS, DTL, RPN, RPA, RPP, RPC, AGE, GDR,
        CON, BRE, PIN, PDE, WEA, DOT, VDE, VDP, VDS, UID, ULO, AST, ADT, ATM,
    };
    static constexpr int KeyCount = 29;
    static const std::array<Key, KeyCount> &allKeys();
    static QString keyName(Key key);
    static bool isIntegerKey(Key key); // RPC, CON, BRE, AST: 16-bit integers

    // The record of reports of `programFolder`/msg.d. Fields start empty and 0.
    explicit ZelvatMsg(const QString &programFolder);

    QString messageFolder() const { return m_folder; }
    // folder + "/" + the name with blanks trimmed + ".911"
    QString pathFor(const QString &name) const;

    // Every text field empty, every integer field 0.
    void Clear();

    // Reads the report `name` into the record. False without a word when the name is blank
    // or no such file exists; false after telling the operator and the event log when the
    // file cannot be read, is no regular file, holds a line that is no report line or no
    // report line at all.
    bool Load(const QString &name);
    // Reads report lines from bytes, as Load reads a file (lines of other keys are passed over,
    // the reading ends at "[END]"), telling the operator and the event log under the name
    // `source` when they cannot be read. The file the record was loaded from stays as it was.
    bool LoadBytes(QByteArrayView data, const QString &source);

    // The report name the record was last loaded from or saved to; empty for a record made afresh.
    QString fileName() const { return m_fileName; }

    // Writes the record whole: to the file it was loaded from, or, for a new record or one given
    // another EID since, to the file named by its EID. The old file is replaced only once every byte of the new one is on the
    // disk, so a failed or interrupted save leaves it as it was. A record the loader could not
    // read back (control characters, a line or a file over the loader's limits) is not written.
    bool Fadd();

    // Deletes the report `name`: in state 8 (Deleted) its file is removed; in any other state
    // it is loaded, marked 8 and saved back into the same file. True when that was done; false,
    // after telling the operator, when the report could not be read whole or written, and for
    // anything that is no report file, which is never touched.
    bool Fdelete(const QString &name, qint16 state);

    // The report names of the message folder (file names without ".911"), separated by CR LF,
    // in the order the folder lists them.
    QString BuildFileList() const;
    // The same names as a list, for walking a large folder.
    QStringList fileNames() const;
    // The same, each with the inode of the regular file (no link) the listing found, or 0 when
    // it cannot tell: for SafeFile::Folder::readListed.
    struct Listed {
        QString name;
        quint64 inode = 0;
    };
    QList<Listed> listFiles() const;

    // True when the file list holds `name` (blanks trimmed) exactly.
    bool Exists(const QString &name) const;
    // True when the file of `name` exists and is write-protected.
    bool IsReadOnly(const QString &name) const;

    // What is wrong with `name` as a report name, in words, or empty when nothing is: it must
    // not be empty nor hold "/", "\", ".." or a control character, so that its file stays
    // inside the message folder. A name that fails is refused by every file operation.
    static QString nameProblem(const QString &name);
    static bool isSafeName(const QString &name);

    // Why the bytes of a report file could not be read back by Load (a control character, a line
    // or the whole over the loader's limits), naming the line in `lineNo`; empty when they can.
    static QString contentProblem(QByteArrayView content, int *lineNo);
    // The fields of a report file as its bytes hold them, for readers of many files at once (the
    // list, the export) that need no record: each text value is the code-page bytes after "=" on
    // its line, blanks kept (empty when the file has no such line); the numbers are read as Load
    // reads them.
    struct Fields {
        std::array<QByteArrayView, KeyCount> text;
        std::array<qint16, KeyCount> number {};
    };
    // Reads the fields out of the bytes of a report file; false, with the loader's error and
    // step, for bytes Load refuses (at step 3, a field that cannot be read, `fields` holds the
    // fields before it). The views point into `data`.
    static bool scan(QByteArrayView data, Fields *fields, RunError *error, int *step);
    // Reads the report `name` from `folder` (the message folder) into `buffer` and scans it,
    // without a word to anyone: false when that cannot be done (no such file, a name Load would
    // refuse or trim, bytes it would refuse). The caller then loads it with Load, which says why.
    // With `listedInode` the folder's listing has just found the file regular, of that inode.
    static bool readFields(const SafeFile::Folder &folder, const QString &name, QByteArray *buffer, Fields *fields,
                           std::optional<quint64> listedInode = std::nullopt);

    // Why Fadd would refuse the record as it stands, naming the field in `key`; empty when it
    // can be saved.
    QString storageProblem(Key *key = nullptr) const;

    QString lastError() const { return m_lastError; }
    int step() const { return m_step; }

    // Generic access. Text getters trim blanks; setters store the value trimmed.
    QString text(Key key) const;
    QString rawText(Key key) const { return m_text[index(key)]; }
    void setText(Key key, const QString &value);
    // Stores the value as it stands, blanks included (the unsaved input of a form, kept for recovery).
    void setRawText(Key key, const QString &value) { m_text[index(key)] = value; }
    qint16 number(Key key) const { return m_number[index(key)]; }
    void setNumber(Key key, qint16 value) { m_number[index(key)] = value; }

    // The property pairs, one per field (RPC has none: only Load sets it and only Fadd writes it).
#define ZELVAT_TEXT_PROPERTY(K) \
    QString K() const { return text(Key::K); } \
    void set##K(const QString &v) { setText(Key::K, v); }
    ZELVAT_TEXT_PROPERTY(TYP)
    ZELVAT_TEXT_PROPERTY(ISS)
    ZELVAT_TEXT_PROPERTY(AD1)
    ZELVAT_TEXT_PROPERTY(AD2)
    ZELVAT_TEXT_PROPERTY(CTY)
    ZELVAT_TEXT_PROPERTY(LAS)
    ZELVAT_TEXT_PROPERTY(DTL)
    ZELVAT_TEXT_PROPERTY(RPN)
    ZELVAT_TEXT_PROPERTY(RPA)
    ZELVAT_TEXT_PROPERTY(RPP)
    ZELVAT_TEXT_PROPERTY(AGE)
    ZELVAT_TEXT_PROPERTY(GDR)
    ZELVAT_TEXT_PROPERTY(PIN)
    ZELVAT_TEXT_PROPERTY(PDE)
    ZELVAT_TEXT_PROPERTY(WEA)
    ZELVAT_TEXT_PROPERTY(DOT)
    ZELVAT_TEXT_PROPERTY(VDE)
    ZELVAT_TEXT_PROPERTY(VDP)
    ZELVAT_TEXT_PROPERTY(VDS)
    ZELVAT_TEXT_PROPERTY(UID)
    ZELVAT_TEXT_PROPERTY(ULO)
    ZELVAT_TEXT_PROPERTY(ADT)
    ZELVAT_TEXT_PROPERTY(ATM)
    ZELVAT_TEXT_PROPERTY(EID)
    ZELVAT_TEXT_PROPERTY(MID)
#undef ZELVAT_TEXT_PROPERTY
    qint16 CON() const { return number(Key::CON); }
    void setCON(qint16 v) { setNumber(Key::CON, v); }
    qint16 BRE() const { return number(Key::BRE); }
    void setBRE(qint16 v) { setNumber(Key::BRE, v); }
    qint16 AST() const { return number(Key::AST); }
    void setAST(qint16 v) { setNumber(Key::AST, v); }

    // The bytes Fadd writes for this record, with the given write stamp after "Version=". With
    // `everyField` the sections of every event type are written, whatever TYP holds.
    QByteArray fileContent(const QString &writeStamp, bool everyField = false) const;

private:
    static constexpr int index(Key key) { return static_cast<int>(key); }
    bool writeFile(const QString &path);
    bool parse(QByteArrayView data, const QString &path);
    void failLoad(const RunError &error, const QString &path);
    static QString problemIn(const QByteArray &content, Key *key);
    void fail(const RunError &error, const QString &operation, const QString &path, const QString &message);

    QString m_folder;
    QString m_fileName;
    QString m_fileEid; // the EID the record had when it was read from or written to that file
    std::array<QString, KeyCount> m_text;
    std::array<qint16, KeyCount> m_number {};
    int m_step = 0;
    QString m_lastError;
};
