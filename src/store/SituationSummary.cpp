#include "store/SituationSummary.h"

#include "store/ReportCatalog.h"
#include "store/ReportList.h"
#include "support/CodePage.h"
#include "support/CommonConst.h"

#include <algorithm>
#include <cmath>

namespace {

// A moment as the catalog's chronological value: days since 30 December 1899 and the fraction
// of the day, in local time as the reports are dated.
double chronoOf(const QDateTime &t)
{
    return double(QDate(1899, 12, 30).daysTo(t.date())) + t.time().msecsSinceStartOfDay() / 86400000.0;
}

// A few milliseconds in hours: a date on the hour, computed in floating point, stays in its hour.
constexpr double kHourSlack = 1e-6;

} // namespace

const QStringList &SituationSummary::columnNames()
{
    static const QStringList names = {QStringLiteral("Ready"), QStringLiteral("Draft"), QStringLiteral("Submitted"),
                                      QStringLiteral("Deleted"), QStringLiteral("Total")};
    return names;
}

int SituationSummary::columnOf(qint16 state)
{
    switch (state) {
    case Zelvat::StateReady: return Ready;
    case Zelvat::StateDraft: return Draft;
    case Zelvat::StateSubmitted: return Submitted;
    case Zelvat::StateDeleted: return Deleted;
    default: return -1;
    }
}

SituationSummary::SituationSummary(const ReportCatalog *catalog)
    : m_catalog(catalog)
{
}

void SituationSummary::setHours(int hours)
{
    m_hours = std::clamp(hours, 1, MaxHours);
}

// What the summary needs of the card in `slot`.
void SituationSummary::take(int slot, Entry &entry)
{
    entry.birth = m_catalog->birth(slot);
    entry.generation = m_catalog->generation(slot);
    entry.live = m_catalog->isLive(slot);
    entry.column = -1;
    if (!entry.live)
        return;
    entry.column = qint8(columnOf(m_catalog->state(slot)));
    entry.chrono = m_catalog->chrono(slot);
    if (entry.column < 0 || entry.chrono == 0) {
        entry.column = -1; // no state of the table, or no date and time to place it by
        return;
    }
    const auto types = FormRules::typesInList(CodePage::decode(m_catalog->fieldBytes(slot, ReportCatalog::Type)));
    entry.types = 0;
    for (int t = 0; t < FormRules::TypeCount; ++t)
        entry.types |= types[t] ? quint8(1u << t) : 0;

    const QByteArrayView city = m_catalog->fieldBytes(slot, ReportCatalog::City);
    QByteArray folded(city.size(), Qt::Uninitialized);
    const auto &fold = CodePage::folding().byte;
    for (qsizetype i = 0; i < city.size(); ++i)
        folded[i] = fold[quint8(city[i])];
    const QString name = city.isEmpty() ? QStringLiteral("(no city)") : CodePage::decode(city);
    auto it = m_cityOf.constFind(folded);
    if (it == m_cityOf.constEnd()) {
        it = m_cityOf.insert(folded, int(m_cityNames.size()));
        m_cityNames.append(name);
    } else if (name < m_cityNames[*it]) {
        m_cityNames[*it] = name; // the same spelling whatever order the reports were taken in
    }
    entry.city = *it;
}

void SituationSummary::refresh(const QDateTime &now)
{
    // A slot whose birth or generation moved holds another card than the one taken: it is the
    // catalog's own mark of every change, so looking at the marks finds every change and only those.
    const int slotCount = m_catalog->slotCount();
    m_entries.resize(size_t(slotCount));
    for (int s = 0; s < slotCount; ++s) {
        Entry &e = m_entries[size_t(s)];
        if (e.birth != m_catalog->birth(s) || e.generation != m_catalog->generation(s) || e.live != m_catalog->isLive(s))
            take(s, e);
    }
    m_counts = Counts {};
    m_counts.to = now;
    m_counts.from = now.addSecs(-qint64(m_hours) * 3600);
    count();
}

void SituationSummary::count()
{
    Counts &c = m_counts;
    const QTime fromTime = c.from.time();
    c.firstHour = c.from;
    c.firstHour.setTime(QTime(fromTime.hour(), 0));
    const double from = chronoOf(c.from), to = chronoOf(c.to), first = chronoOf(c.firstHour);
    const int bars = int(std::floor((to - first) * 24 + kHourSlack)) + 1;
    c.perHour.resize(bars);
    std::vector<int> perCity(size_t(m_cityNames.size()), 0);

    for (const Entry &e : m_entries) {
        if (e.column < 0 || e.chrono < from || e.chrono > to)
            continue;
        ++c.reports;
        ++perCity[size_t(e.city)];
        const int bar = std::clamp(int(std::floor((e.chrono - first) * 24 + kHourSlack)), 0, bars - 1);
        for (int t = 0; t < FormRules::TypeCount; ++t) {
            if (e.types & (1u << t)) {
                ++c.byType[t][e.column];
                ++c.byType[t][Total];
                ++c.perHour[bar][t];
            }
        }
    }
    for (size_t i = 0; i < perCity.size(); ++i) {
        if (perCity[i] > 0)
            c.cities.append(City{m_cityNames[qsizetype(i)], perCity[i]});
    }
    std::sort(c.cities.begin(), c.cities.end(), [](const City &a, const City &b) {
        return a.reports != b.reports ? a.reports > b.reports : a.name.compare(b.name, Qt::CaseInsensitive) < 0;
    });
}

QStringList SituationSummary::lines() const
{
    const QChar tab = QLatin1Char('\t');
    QStringList out;
    out << QStringLiteral("Type") + tab + columnNames().join(tab);
    for (int t = 0; t < FormRules::TypeCount; ++t) {
        QString line = FormRules::typeCode(t);
        for (int n : m_counts.byType[t])
            line += tab + QString::number(n);
        out << line;
    }
    out << QStringLiteral("City") + tab + QStringLiteral("Total");
    for (const City &city : m_counts.cities)
        out << city.name + tab + QString::number(city.reports);
    return out;
}
