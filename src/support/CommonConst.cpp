#include "support/CommonConst.h"

namespace Zelvat {

QString versionText()
{
    return QStringLiteral("%1.%2.%3")
        .arg(ZELVAT_VERSION_MAJOR)
        .arg(ZELVAT_VERSION_MINOR)
        .arg(ZELVAT_VERSION_PATCH);
}

QString stateName(int state)
{
    switch (state) {
    case StateReady: return QStringLiteral("Ready");
    case StateDraft: return QStringLiteral("Draft");
    case StateDeleted: return QStringLiteral("Deleted");
    case StateSubmitted: return QStringLiteral("Submitted");
    default: return {};
    }
}

QString folderCaption(int folder)
{
    switch (folder) {
    case StateAll: return QStringLiteral("All");
    case StateReady: return QStringLiteral("Ready to Send");
    case StateDraft: return QStringLiteral("Draft");
    case StateDeleted: return QStringLiteral("Deleted");
    case StateSubmitted: return QStringLiteral("Submitted");
    default: return {};
    }
}

} // namespace Zelvat
