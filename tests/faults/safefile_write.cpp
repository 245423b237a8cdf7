// Saves TEXT into FILE through SafeFile::writeAtomically, as a process of its own: the fault
// injector's tests arm it through the environment of this process. Exit 0 when saved, 1 with the
// error on standard error when not, 2 for bad usage.

#include "support/SafeFile.h"

#include <cstdio>

int main(int argc, char **argv)
{
    if (argc != 3) {
        std::fputs("usage: safefile_write FILE TEXT\n", stderr);
        return 2;
    }
    RunError error;
    if (SafeFile::writeAtomically(QString::fromLocal8Bit(argv[1]), QByteArray(argv[2]), &error))
        return 0;
    std::fprintf(stderr, "%s\n", error.text().toLocal8Bit().constData());
    return 1;
}
