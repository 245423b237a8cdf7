// Fuzz target: the report-file loader. Any bytes in a report file must give a clean load or a
// clean refusal, and a report that loads must save and load again to the same fields.

#include "FuzzSupport.h"
#include "store/ZelvatMsg.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString &folder = Fuzz::Folder();
    ZelvatMsg msg(folder);
    Fuzz::WriteAll(msg.pathFor(QStringLiteral("F")), data, size);
    if (!msg.Load(QStringLiteral("F")))
        return 0;
    // What loaded must survive a save and a second load unchanged. A report whose event ID is
    // already "G" is saved back into the file it came from, so the second load reads the file
    // the save wrote, whichever it was.
    msg.setEID(QStringLiteral("G"));
    if (!msg.Fadd())
        abort();
    ZelvatMsg again(folder);
    if (!again.Load(msg.fileName()))
        abort();
    for (ZelvatMsg::Key k : ZelvatMsg::allKeys()) {
        const bool sectionOfType = k == ZelvatMsg::Key::AGE || k == ZelvatMsg::Key::GDR || k == ZelvatMsg::Key::CON
            || k == ZelvatMsg::Key::BRE || k == ZelvatMsg::Key::PIN || k == ZelvatMsg::Key::PDE || k == ZelvatMsg::Key::WEA
            || k == ZelvatMsg::Key::DOT || k == ZelvatMsg::Key::VDE || k == ZelvatMsg::Key::VDP || k == ZelvatMsg::Key::VDS;
        if (sectionOfType)
            continue; // written only in the sections of the types in TYP
        if (again.number(k) != msg.number(k))
            abort();
        // Characters the code page cannot hold never come out of a decode, so text round-trips.
        if (again.text(k) != msg.text(k) && !msg.rawText(k).contains(QLatin1Char('\\')))
            abort();
    }
    return 0;
}
