#include "Cli.h"

#include "settings/ZelvatIni.h"
#include "support/DatetimeLib.h"
#include "store/EventNumbers.h"
#include "store/FormFields.h"
#include "store/ReportCatalog.h"
#include "store/ReportList.h"
#include "store/SaveStamps.h"
#include "store/ZelvatMsg.h"
#include "support/CodePage.h"
#include "support/CommonConst.h"
#include "support/Platform.h"
#include "support/StringLib.h"

#include <QHash>

using Key = ZelvatMsg::Key;

namespace {

const QHash<QString, int> &folderCodes()
{
    static const QHash<QString, int> folders = {
        {QStringLiteral("all"), Zelvat::StateAll},       {QStringLiteral("ready"), Zelvat::StateReady},
        {QStringLiteral("draft"), Zelvat::StateDraft},   {QStringLiteral("submitted"), Zelvat::StateSubmitted},
        {QStringLiteral("deleted"), Zelvat::StateDeleted},
    };
    return folders;
}

// The rows of a folder that hold every word of `search`, as the report list shows them: the
// eight columns joined by TAB in the list's default order, then "Items: N". The rows come from
// the catalog the window keeps (its index file is used when it can be trusted); what the loader
// says about files that cannot be read goes to standard error.
int printRows(Cli &cli, int folder, const ReportSearch &search)
{
    ReportCatalog catalog(cli.programFolder());
    catalog.loadIndex();
    catalog.refresh();
    for (const Notice &n : catalog.unreadable())
        notify(n.text, n.icon, n.title);
    QByteArray out;
    qsizetype count = 0;
    for (int slot : catalog.rowsOf(folder)) {
        if (!search.isEmpty() && !catalog.matches(slot, search))
            continue;
        for (int c = 0; c < ReportList::ColumnCount; ++c) {
            if (c > 0)
                out += '\t';
            out += CodePage::encode(catalog.cell(slot, c));
        }
        out += '\n';
        ++count;
    }
    out += CodePage::encode(ReportList::itemsText(count)) + '\n';
    Cli::outBytes(out);
    return Cli::Success;
}

} // namespace

int listCommand(Cli &cli, const QStringList &args)
{
    if (args.size() > 1 || (args.size() == 1 && !folderCodes().contains(args[0]))) {
        Cli::err(QStringLiteral("usage: zelvatcts-cli [--home DIR] list [all|ready|draft|submitted|deleted]"));
        return Cli::Usage;
    }
    return printRows(cli, args.isEmpty() ? int(Zelvat::StateReady) : folderCodes().value(args[0]), ReportSearch());
}

int findCommand(Cli &cli, const QStringList &args)
{
    QStringList words = args;
    int folder = Zelvat::StateAll;
    const qsizetype at = words.indexOf(QStringLiteral("--folder"));
    if (at >= 0) {
        if (at + 1 < words.size() && folderCodes().contains(words[at + 1])) {
            folder = folderCodes().value(words[at + 1]);
            words.remove(at, 2);
        } else {
            words.clear(); // a folder missing or unknown: the usage below
        }
    }
    const ReportSearch search(words.join(QLatin1Char(' ')));
    if (words.isEmpty() || search.isEmpty()) {
        Cli::err(QStringLiteral("usage: zelvatcts-cli [--home DIR] find [--folder all|ready|draft|submitted|deleted] WORDS..."));
        return Cli::Usage;
    }
    return printRows(cli, folder, search);
}

int showCommand(Cli &cli, const QStringList &args)
{
    if (args.size() != 1) {
        Cli::err(QStringLiteral("usage: zelvatcts-cli [--home DIR] show NAME"));
        return Cli::Usage;
    }
    if (const int check = cli.checkReport(args[0]))
        return check;
    ZelvatMsg &msg = cli.store();
    if (!msg.Load(args[0]))
        return Cli::Usage; // the loader has said what is wrong with the file
    QByteArray out;
    for (Key k : ZelvatMsg::allKeys()) {
        const QString value = ZelvatMsg::isIntegerKey(k) ? QString::number(msg.number(k)) : msg.text(k);
        out += CodePage::encode(ZelvatMsg::keyName(k) + QLatin1Char('=') + value) + '\n';
    }
    Cli::outBytes(out);
    return Cli::Success;
}

int nextEventCommand(Cli &cli, const QStringList &args)
{
    if (!args.isEmpty()) {
        Cli::err(QStringLiteral("usage: zelvatcts-cli [--home DIR] next-event"));
        return Cli::Usage;
    }
    RunError error;
    const auto pair = EventNumbers::newEventPair(cli.station(), cli.store(), &error);
    if (!pair) {
        Cli::err(error.description);
        return Cli::Failure;
    }
    Cli::out(pair->eventNumber + QLatin1Char('\t') + pair->messageId);
    return Cli::Success;
}

namespace {

// The fields a new report takes from --set: the types, the boxes and the answers of the report
// form. The event pair, the save stamps and the state are the program's own.
QList<Key> settableKeys()
{
    QList<Key> keys = {Key::TYP, Key::CON, Key::BRE};
    for (const FormFields::Box &b : FormFields::boxes())
        keys.append(b.key);
    return keys;
}

QString settableKeyNames()
{
    QStringList names;
    for (Key k : settableKeys())
        names << ZelvatMsg::keyName(k);
    return names.join(QLatin1Char(' '));
}

} // namespace

int newCommand(Cli &cli, const QStringList &args)
{
    const QString usage = QStringLiteral("usage: zelvatcts-cli [--home DIR] new [--set KEY=VALUE]...");
    ZelvatMsg &msg = cli.store();
    msg.Clear();
    // An unanswered medical question is -1, as the form saves it.
    msg.setCON(-1);
    msg.setBRE(-1);

    // Every argument is checked before a number is taken, so a typing mistake wastes none.
    for (int i = 0; i < args.size(); ++i) {
        if (args[i] != QLatin1String("--set") || i + 1 >= args.size()) {
            Cli::err(usage);
            return Cli::Usage;
        }
        const QString assignment = args[++i];
        const qsizetype eq = assignment.indexOf(QLatin1Char('='));
        const QString keyName = eq < 0 ? assignment : assignment.left(eq);
        const QString value = eq < 0 ? QString() : assignment.mid(eq + 1);
        const QList<Key> keys = settableKeys();
        const auto found = std::find_if(keys.begin(), keys.end(), [&](Key k) { return ZelvatMsg::keyName(k) == keyName; });
        if (eq < 0 || found == keys.end()) {
            Cli::err(QStringLiteral("--set %1: the key must be one of %2, followed by \"=\" and the value")
                         .arg(assignment, settableKeyNames()));
            return Cli::Usage;
        }
        const Key key = *found;
        if (!CodePage::canEncode(value)) {
            Cli::err(QStringLiteral("--set %1: the characters \"%2\" cannot be stored in a report file")
                         .arg(keyName, CodePage::unencodable(value)));
            return Cli::Usage;
        }
        if (ZelvatMsg::isIntegerKey(key)) {
            const auto answer = StringLib::toInteger(value, -1, 1, keyName, nullptr);
            if (!answer) {
                Cli::err(QStringLiteral("--set %1: %2 is 1 (yes), 0 (no) or -1 (not answered)").arg(assignment, keyName));
                return Cli::Usage;
            }
            msg.setNumber(key, qint16(*answer));
            continue;
        }
        const FormFields::Box *box = FormFields::boxOf(key);
        const bool multiLine = box && box->multiLine;
        if (!multiLine && (value.contains(QLatin1Char('\r')) || value.contains(QLatin1Char('\n')))) {
            Cli::err(QStringLiteral("--set %1: only DTL and PDE may hold line breaks").arg(keyName));
            return Cli::Usage;
        }
        msg.setText(key, multiLine ? escapeBreaks(value) : value);
    }

    // What the report file could not hold back is refused before a number is taken.
    ZelvatMsg::Key key {};
    if (const QString why = msg.storageProblem(&key); !why.isEmpty()) {
        Cli::err(QStringLiteral("--set %1: %2").arg(int(key) >= 0 ? ZelvatMsg::keyName(key) : QStringLiteral("..."), why));
        return Cli::Usage;
    }
    RunError error;
    const auto pair = EventNumbers::newEventPair(cli.station(), msg, &error);
    if (!pair) {
        Cli::err(error.description);
        return Cli::Failure;
    }
    msg.setEID(pair->eventNumber);
    msg.setMID(pair->messageId);
    msg.setAST(Zelvat::StateDraft);
    applySaveStamps(msg, cli.station(), DatetimeLib::now());
    if (!msg.Fadd())
        return Cli::Failure;
    Cli::out(pair->eventNumber);
    return Cli::Success;
}

int deleteCommand(Cli &cli, const QStringList &args)
{
    if (args.size() != 1) {
        Cli::err(QStringLiteral("usage: zelvatcts-cli [--home DIR] delete NAME"));
        return Cli::Usage;
    }
    const QString name = args[0];
    if (const int check = cli.checkReport(name))
        return check;
    ZelvatMsg &msg = cli.store();
    if (!msg.Load(name))
        return Cli::Usage;
    const qint16 state = msg.AST();
    cli.station(); // the station's names go into the note of who wrote it
    if (!msg.Fdelete(name, state))
        return Cli::Failure;
    Cli::out(state == Zelvat::StateDeleted ? QStringLiteral("%1 removed").arg(StringLib::trimBlanks(name))
                                           : QStringLiteral("%1 marked Deleted").arg(StringLib::trimBlanks(name)));
    return Cli::Success;
}
