#pragma once

#include <QString>

// The suite's global settings, shared with the other programs of the packet message suite in
// "Tarnell.glo" beside the program. An instance reads the file when created (creating it with
// the defaults when it is missing) and writes it back when destroyed, only if something
// changed. Errors go to the event log; no message box is shown.
class TnGlobal {
public:
    explicit TnGlobal(const QString &programFolder);
    ~TnGlobal();
    TnGlobal(const TnGlobal &) = delete;
    TnGlobal &operator=(const TnGlobal &) = delete;

    // The name of the system's default printer, handed in by the window layer (core code has
    // no printing). Empty means none can be obtained: "No Printers Defined".
    static void setDefaultPrinterName(const QString &name);
    // Set when the last instance created found no settings file.
    static bool settingsFileMissing();

    void setDefaults();
    void GloRead();
    void GLOWrite();

    QString Version() const { return m_version; }
    void setVersion(const QString &v) { m_version = v; m_changed = true; }
    qint32 UseGlobalMsgNum() const { return m_useGlobalMsgNum; }
    // Stored as 16 bits: a value outside -32768..32767 is refused (false) and nothing changes.
    bool setUseGlobalMsgNum(qint32 v);
    QString PrinterName() const { return m_printerName; }
    void setPrinterName(const QString &v) { m_printerName = v; m_changed = true; }
    qint16 PtrOrient() const { return m_ptrOrient; }
    void setPtrOrient(qint16 v) { m_ptrOrient = v; m_changed = true; }
    qint16 PtrCopies() const { return m_ptrCopies; }
    void setPtrCopies(qint16 v) { m_ptrCopies = v; m_changed = true; }
    qint16 PtrDuplex() const { return m_ptrDuplex; }
    void setPtrDuplex(qint16 v) { m_ptrDuplex = v; m_changed = true; }
    bool runFlag() const { return m_runFlag; }
    void setRunFlag(bool v) { m_runFlag = v; } // not a setting: does not mark a change
    qint16 ProfSave() const { return m_profSave; }
    void setProfSave(qint16 v) { m_profSave = v; m_changed = true; }
    QString FolderLabels() const { return m_folderLabels; }
    void setFolderLabels(const QString &v) { m_folderLabels = v; m_changed = true; }
    // Kept as text; 0 when the text is no 16-bit number.
    qint16 LstFontSize() const;
    void setLstFontSize(qint16 v) { m_lstFontSize = QString::number(v); m_changed = true; }

    bool changed() const { return m_changed; }
    QString path() const { return m_path; }
    QString lastError() const { return m_lastError; }
    int step() const { return m_step; }

    QByteArray fileContent() const;

private:
    void fail(const QString &operation, const QString &errorText);

    QString m_path;
    QString m_version;
    qint16 m_useGlobalMsgNum = 1;
    QString m_printerName;
    qint16 m_ptrOrient = 1;
    qint16 m_ptrCopies = 1;
    qint16 m_ptrDuplex = 1;
    bool m_runFlag = true;
    qint16 m_profSave = 1;
    QString m_folderLabels;
    QString m_lstFontSize;
    bool m_changed = false;
    QString m_lastError;
    int m_step = 0;
};
