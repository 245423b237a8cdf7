#include "Cli.h"

#include "settings/ZelvatIni.h"
#include "store/ProgramFolder.h"
#include "store/ZelvatMsg.h"
#include "support/CodePage.h"

#include <QFileInfo>
#include <cstdio>

Cli::Cli(const QString &programFolder)
    : m_folder(programFolder)
    , m_store(std::make_unique<ZelvatMsg>(programFolder))
{
}

Cli::~Cli() = default;

ZelvatIni &Cli::Station()
{
    if (!m_station) {
        m_station = std::make_unique<ZelvatIni>(ProgramFolder::StationFile(m_folder));
        m_station->Load();
    }
    return *m_station;
}

void Cli::OutBytes(const QByteArray &bytes)
{
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
}

void Cli::Out(const QString &line)
{
    // Each line goes out as it happens: a script reading a long resend sees every report when done.
    OutBytes(CodePage::encode(line) + '\n');
    std::fflush(stdout);
}

void Cli::Err(const QString &line)
{
    // Messages are for the person at the terminal, in the terminal's own encoding; only the
    // data on standard output is 8-bit text as stored.
    const QByteArray bytes = line.toLocal8Bit() + '\n';
    std::fflush(stdout);
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stderr);
}

int Cli::CheckReport(const QString &name)
{
    if (!ZelvatMsg::IsSafeName(name)) {
        Err(QStringLiteral("the report name \"%1\" would reach outside the message folder").arg(name));
        return Usage;
    }
    if (!QFileInfo::exists(m_store->PathFor(name))) {
        Err(QStringLiteral("no report %1 in %2").arg(name, m_store->MessageFolder()));
        return Failure;
    }
    return Success;
}
