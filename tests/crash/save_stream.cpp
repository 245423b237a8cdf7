// A program that does nothing but save: it rewrites a handful of reports and takes event
// numbers in a tight loop until it is killed. tst_crash kills it at random moments and then
// checks what it left behind.
//
//   save_stream PROGRAM_FOLDER FIRST_GENERATION

#include "settings/ZelvatIni.h"
#include "store/EventNumbers.h"
#include "store/ProgramFolder.h"
#include "store/ZelvatMsg.h"

#include <QCoreApplication>
#include <cstdio>

#include "CrashReport.h"

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    if (argc != 3)
        return 2;
    const QString folder = QString::fromLocal8Bit(argv[1]);
    QString why;
    if (!ProgramFolder::prepare(folder, &why))
        return 1;
    ZelvatIni ini(ProgramFolder::stationFile(folder));
    ini.load();
    ZelvatMsg msg(folder);
    std::puts("saving");
    std::fflush(stdout);
    for (qint64 generation = QByteArray(argv[2]).toLongLong();; ++generation) {
        for (int report = 0; report < CrashReport::Reports; ++report) {
            CrashReport::Fill(msg, report, generation);
            if (!msg.Fadd())
                return 1;
        }
        if (generation % 4 == 0 && !EventNumbers::newEventPair(ini, msg, &why))
            ini.Eno = 100; // wrapped past the largest number: start again
    }
}
