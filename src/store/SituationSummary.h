#pragma once

#include "store/FormRules.h"

#include <QByteArray>
#include <QDateTime>
#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>
#include <array>
#include <vector>

class ReportCatalog;

// How many calls came in over the last hours, as the catalog holds them: the reports of the
// period counted by event type (MED, FIRE, LAW, LGOV; a report of several types counts in each)
// and by state (Ready, Draft, Submitted, Deleted, then the Total), by city, and per clock hour
// by event type. A report belongs to the period by its own date and time (ADT, ATM), from `hours`
// before now up to now; reports of another state, and what is no report, are not counted.
//
// The summary never reads the folder: it keeps, per slot of the catalog, what it needs of the
// card (date and time, types, state, city) and takes again only the cards whose slot changed
// since the last refresh, so a refresh after one change costs one card and a pass over numbers.
class SituationSummary {
public:
    enum Column { Ready, Draft, Submitted, Deleted, Total, ColumnCount };
    // "Ready", "Draft", "Submitted", "Deleted", "Total"
    static const QStringList &columnNames();
    // The column a report state counts in; -1 for a state that is counted nowhere.
    static int columnOf(qint16 state);

    struct City {
        QString name; // of its spellings (case aside) the one that sorts first; "(no city)" when blank
        int reports = 0;
    };
    struct Counts {
        QDateTime from, to; // the period
        std::array<std::array<int, ColumnCount>, FormRules::TypeCount> byType {};
        int reports = 0;    // every counted report once, whatever its types
        QList<City> cities; // most reports first, then by name
        QDateTime firstHour; // the clock hour of the first bar
        QList<std::array<int, FormRules::TypeCount>> perHour; // per clock hour up to now, by type
    };

    static constexpr int DefaultHours = 24;
    static constexpr int MaxHours = 24 * 7; // a week: one bar per hour still reads

    explicit SituationSummary(const ReportCatalog *catalog);

    // The length of the period, 1 to MaxHours (a value outside is brought within).
    void setHours(int hours);
    int hours() const { return m_hours; }

    // Takes in the cards changed since the last refresh and counts the period ending at `now`.
    void refresh(const QDateTime &now);
    const Counts &counts() const { return m_counts; }

    // The table as the client prints it, columns joined by TAB:
    //   "Type  Ready  Draft  Submitted  Deleted  Total", one line per event type beginning with
    //   its code, then "City  Total" and one line per city.
    QStringList lines() const;

private:
    struct Entry {
        quint32 birth = 0;
        quint32 generation = 0;
        bool live = false;
        double chrono = 0;   // the report's own date and time, days since 30 December 1899
        quint8 types = 0;    // bit i: FormRules::typeCode(i)
        qint8 column = -1;   // Column of its state, -1 when not counted
        int city = -1;       // index into m_cityNames
    };

    void take(int slot, Entry &entry);
    void count();

    const ReportCatalog *m_catalog;
    int m_hours = DefaultHours;
    std::vector<Entry> m_entries; // by catalog slot
    QHash<QByteArray, int> m_cityOf; // by the city folded to one case
    QList<QString> m_cityNames;
    Counts m_counts;
};
