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

    QString ProgramFolder() const { return m_folder; }
    ZelvatIni &Station();      // loaded on first use; a missing file is created
    ZelvatMsg &Store() { return *m_store; }

    // Standard output and error as 8-bit text; each call writes the text and LF.
    static void Out(const QString &line);
    static void OutBytes(const QByteArray &bytes);
    static void Err(const QString &line);

    // Success when the report `name` has a file; otherwise says why on standard error and
    // returns Usage for a name that would reach outside the message folder, Failure for a
    // report that does not exist.
    int CheckReport(const QString &name);

private:
    QString m_folder;
    std::unique_ptr<ZelvatIni> m_station;
    std::unique_ptr<ZelvatMsg> m_store;
};

// The commands over the report store.
int CmdList(Cli &cli, const QStringList &args);
int CmdShow(Cli &cli, const QStringList &args);
int CmdNextEvent(Cli &cli, const QStringList &args);
int CmdNew(Cli &cli, const QStringList &args);
int CmdDelete(Cli &cli, const QStringList &args);

// The commands over the message server link.
int CmdSubject(Cli &cli, const QStringList &args);
int CmdBody(Cli &cli, const QStringList &args);
int CmdEnvelope(Cli &cli, const QStringList &args);
int CmdSubmit(Cli &cli, const QStringList &args);
int CmdResend(Cli &cli, const QStringList &args);
int CmdLinkTest(Cli &cli, const QStringList &args);
