// What keeping the earlier version costs a save: the same report saved again and again through
// ZelvatMsg::Fadd (as the form, the outbox and the client save), with its earlier version kept
// (the preferences' limits, 50 versions, so that pruning runs at every save once 50 are kept)
// against keeping switched off (a count of 0), in the same folder and run, alternating so that
// both see the same disk. The program folder is a new one inside the current folder (or the one
// given as first argument), so run it from a folder on the disk the program folder lives on.
// Prints the median and the 90th percentile of each in microseconds and, last, the ratio.

#include "store/ReportVersions.h"
#include "store/ZelvatMsg.h"
#include "support/CommonConst.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

struct Figures {
    double median;
    double p90;
};

Figures figures(std::vector<double> us)
{
    std::sort(us.begin(), us.end());
    return {us[us.size() / 2], us[us.size() * 9 / 10]};
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QTemporaryDir dir(QString::fromLocal8Bit(argc > 1 ? argv[1] : ".") + QStringLiteral("/version_keep-XXXXXX"));
    if (!dir.isValid() || !QDir(dir.path()).mkdir(QStringLiteral("msg.d")))
        qFatal("cannot create a folder to write in");
    ZelvatMsg msg(dir.path());
    msg.setEID(QStringLiteral("NRT26329.101"));
    msg.setMID(QStringLiteral("NRT-101"));
    msg.setTYP(QStringLiteral("MED"));
    msg.setISS(QStringLiteral("Fall at home, conscious, breathing"));
    msg.setAD1(QStringLiteral("12 Harbour Road"));
    msg.setCTY(QStringLiteral("Northport"));
    msg.setDTL(QStringLiteral("Caller reports a neighbour fell on the stairs; ambulance requested.").repeated(6));
    msg.setULO(QStringLiteral("NRT"));
    msg.setUID(QStringLiteral("1234"));
    msg.setAST(Zelvat::StateDraft);
    if (!msg.Fadd())
        qFatal("the first save failed: %s", qPrintable(msg.lastError()));

    const ReportVersions::Limits kept; // the preferences' defaults
    const ReportVersions::Limits off{0, kept.days};
    const int rounds = 300;
    std::vector<double> with, without;
    for (int r = 0; r < rounds + 60; ++r) { // the first rounds fill the 50 versions and warm up
        for (const bool keep : {true, false}) {
            ReportVersions::setLimits(keep ? kept : off);
            msg.setLAS(QString::number(r));
            QElapsedTimer t;
            t.start();
            if (!msg.Fadd())
                qFatal("a save failed: %s", qPrintable(msg.lastError()));
            if (r >= 60)
                (keep ? with : without).push_back(t.nsecsElapsed() / 1e3);
        }
    }
    const Figures k = figures(with), n = figures(without);
    const qsizetype versions = ReportVersions(msg.messageFolder()).list(QStringLiteral("NRT26329.101")).size();
    std::printf("folder: %s, %d saves each, %lld versions kept at the end\n", qPrintable(dir.path()), rounds,
                qint64(versions));
    std::printf("%-44s %10s %10s\n", "", "median us", "p90 us");
    std::printf("%-44s %10.1f %10.1f\n", "save, earlier version kept", k.median, k.p90);
    std::printf("%-44s %10.1f %10.1f\n", "save, nothing kept", n.median, n.p90);
    std::printf("kept_over_plain %.2f\n", k.median / n.median);
    return 0;
}
