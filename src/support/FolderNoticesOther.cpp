#include "support/FolderNotices.h"

// Where the system has no notices of this kind, none come: the folder is watched another way.

FolderNotices::FolderNotices(const QString &folder, QObject *parent)
    : QObject(parent)
    , m_folder(folder)
{
}

FolderNotices::~FolderNotices() = default;

bool FolderNotices::isOpen() const
{
    return false;
}

bool FolderNotices::watchAgain()
{
    return false;
}

bool FolderNotices::onNetworkFileSystem(const QString &)
{
    return false;
}

void FolderNotices::take(const std::function<void(const QString &)> &, bool *, bool *) {}
