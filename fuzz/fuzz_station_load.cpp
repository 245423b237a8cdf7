// Fuzz target: the station settings loader. Any bytes in the station file must give values or
// defaults with a message, never a crash; what was loaded must save and load back the same.

#include "FuzzSupport.h"
#include "settings/ZelvatIni.h"
#include "store/ProgramFolder.h"

#include <cmath>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString path = ProgramFolder::stationFile(Fuzz::Folder());
    Fuzz::WriteAll(path, data, size);
    ZelvatIni ini(path);
    ini.load();
    if (!ini.save())
        abort();
    ZelvatIni again(path);
    // Text values holding a line break cannot come back as they were (the break splits the
    // line); every other value must.
    again.load();
    const auto same = [](const QString &a, const QString &b) {
        return a == b || a.contains(QLatin1Char('\r')) || a.contains(QLatin1Char('\n'));
    };
    if (again.Eno != ini.Eno || again.Nto != ini.Nto || !same(ini.Nam, again.Nam) || !same(ini.Hst, again.Hst)
        || !same(ini.Enc, again.Enc))
        abort();
    if (!(std::isfinite(again.Lvf)))
        abort();
    return 0;
}
