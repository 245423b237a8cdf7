#include "Cli.h"

#include "settings/ZelvatIni.h"
#include "store/Position.h"
#include "store/ProgramFolder.h"
#include "store/ReportVersions.h"
#include "store/ZelvatMsg.h"
#include "support/CodePage.h"
#include "support/SafeFile.h"

#include <QFileInfo>
#include <cstdio>
#ifdef Q_OS_WIN
#include <fcntl.h>
#include <io.h>
#endif

Cli::Cli(const QString &programFolder)
    : m_folder(programFolder)
    , m_store(std::make_unique<ZelvatMsg>(programFolder))
{
    ReportVersions::setLimits(ReportVersions::storedLimits());
}

Cli::~Cli() = default;

ZelvatIni &Cli::station()
{
    if (!m_station) {
        m_station = std::make_unique<ZelvatIni>(ProgramFolder::stationFile(m_folder));
        m_station->load();
        Position::setStation(*m_station);
    }
    return *m_station;
}

void Cli::outBytes(const QByteArray &bytes)
{
#ifdef Q_OS_WIN
    // The bytes as they are: Windows' text mode would put a CR before every LF of a body or an
    // envelope that already ends its lines in CR LF, and before the LF of every row. (Messages on
    // standard error are for a person and keep the console's text mode.)
    static const bool binary = [] {
        _setmode(_fileno(stdout), _O_BINARY);
        return true;
    }();
    Q_UNUSED(binary);
#endif
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
}

void Cli::out(const QString &line)
{
    // Each line goes out as it happens: a script reading a long resend sees every report when done.
    outBytes(CodePage::encode(line) + '\n');
    std::fflush(stdout);
}

void Cli::err(const QString &line)
{
    // Messages are for the person at the terminal, in the terminal's own encoding; only the
    // data on standard output is 8-bit text as stored.
    const QByteArray bytes = line.toLocal8Bit() + '\n';
    std::fflush(stdout);
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stderr);
}

int Cli::checkReport(const QString &name)
{
    if (const QString why = ZelvatMsg::nameProblem(name); !why.isEmpty()) {
        err(QStringLiteral("report name: ") + why);
        return Usage;
    }
    if (SafeFile::kindOf(m_store->pathFor(name)) == SafeFile::Kind::Missing) {
        err(QStringLiteral("no report %1 in %2").arg(name, m_store->messageFolder()));
        return Failure;
    }
    return Success;
}
