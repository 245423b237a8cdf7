#pragma once

#include <QString>
#include <QStringList>
#include <memory>

class ZelvatIni;
class ZelvatMsg;

// What every command of the headless client works on: one program folder, its station
// settings (read when first asked for) and its report store.
class Cli {
public:
    explicit Cli(const QString &programFolder);
    ~Cli();

    enum Exit { Success = 0, Failure = 1, Usage = 2 };

    QString programFolder() const { return m_folder; }
    ZelvatIni &station();      // loaded on first use; a missing file is created
    ZelvatMsg &store() { return *m_store; }

    // Standard output and error as 8-bit text; each call writes the text and LF.
    static void out(const QString &line);
    static void outBytes(const QByteArray &bytes);
    static void err(const QString &line);

    // Success when the report `name` has a file; otherwise says why on standard error and
    // returns Usage for a name that would reach outside the message folder, Failure for a
    // report that does not exist.
    int checkReport(const QString &name);

private:
    QString m_folder;
    std::unique_ptr<ZelvatIni> m_station;
    std::unique_ptr<ZelvatMsg> m_store;
};

// The commands over the report store.
int listCommand(Cli &cli, const QStringList &args);
int findCommand(Cli &cli, const QStringList &args);
int showCommand(Cli &cli, const QStringList &args);
int nextEventCommand(Cli &cli, const QStringList &args);
int newCommand(Cli &cli, const QStringList &args);
int deleteCommand(Cli &cli, const QStringList &args);
int recoveredCommand(Cli &cli, const QStringList &args);
// The reports open in a report form at any position.
int inUseCommand(Cli &cli, const QStringList &args);

// The kept earlier versions of a report: their list, and putting one back.
int historyCommand(Cli &cli, const QStringList &args);
int restoreCommand(Cli &cli, const QStringList &args);

// The commands over the message server link.
int subjectCommand(Cli &cli, const QStringList &args);
int bodyCommand(Cli &cli, const QStringList &args);
int envelopeCommand(Cli &cli, const QStringList &args);
int submitCommand(Cli &cli, const QStringList &args);
int resendCommand(Cli &cli, const QStringList &args);
int linkTestCommand(Cli &cli, const QStringList &args);

// The hand-over commands: report sheets as PDF, the CSV export, the import of report files.
int pdfCommand(Cli &cli, const QStringList &args);
int exportCommand(Cli &cli, const QStringList &args);
int importCommand(Cli &cli, const QStringList &args);

// The situation summary of the last hours.
int summaryCommand(Cli &cli, const QStringList &args);

// The communications log of a period as CSV or PDF.
int commlogCommand(Cli &cli, const QStringList &args);
