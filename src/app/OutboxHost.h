#pragma once

#include <QString>

class ReportCatalog;
class ZelvatIni;

// What the outbox needs of the window that holds it: the program folder with the reports and the
// outbox file, the station settings a session sends with, the catalog whose Ready reports it
// counts, and a refill of the report list before and after a run.
class OutboxHost {
public:
    virtual QString programFolder() const = 0;
    virtual ZelvatIni &station() = 0;
    virtual ReportCatalog &catalog() const = 0;
    virtual void BuildNewMsgList() = 0;

protected:
    ~OutboxHost() = default;
};
