#pragma once

#include <QString>
#include <functional>

class CatalogUpdates;
class ZelvatIni;

// The operator's answer to the offer of a report form's kept input.
enum class RecoveryAnswer { Restore, Discard, Later };
using RecoveryQuestion = std::function<RecoveryAnswer(const QString &question)>;

// What the recovery offer needs of the window that holds it: the program folder with the kept
// input, the station settings a restored form works with, a refill of the report list when that
// form has saved, the question to ask (none while nobody can answer it), and the folder watch
// that tells a restored form of changes made elsewhere to its report.
class RecoveryHost {
public:
    virtual QString programFolder() const = 0;
    virtual ZelvatIni &station() = 0;
    virtual void BuildNewMsgList() = 0;
    virtual RecoveryQuestion restoreQuestion() const = 0;
    virtual CatalogUpdates *catalogUpdates() const { return nullptr; }

protected:
    ~RecoveryHost() = default;
};
