#pragma once

#include "store/ZelvatMsg.h"
#include "support/SafeFile.h"

#include <QByteArray>
#include <array>

// Reads the reports of one message folder one after another, as the list and the export read
// thousands: each straight from its bytes, without a record. One that cannot be read that way
// (a name the loader trims or refuses, bytes it refuses, a file gone meanwhile) goes through the
// loader, which tells the notifier in force why, and comes back as the fields the loader read.
class ReportFieldsReader {
public:
    explicit ReportFieldsReader(ZelvatMsg &loader);

    // The fields of report `name`, valid until the next read. `ok` is false when the loader could
    // not read it either; the fields then hold what the loader kept (see ZelvatMsg::lastError).
    // With `listedInode` a listing of the folder has just found the file regular, of that inode.
    const ZelvatMsg::Fields &read(const QString &name, bool *ok, std::optional<quint64> listedInode = std::nullopt);

private:
    ZelvatMsg &m_loader;
    SafeFile::Folder m_folder;
    QByteArray m_bytes;
    ZelvatMsg::Fields m_fields;
    std::array<QByteArray, ZelvatMsg::KeyCount> m_loaded; // the loader's fields, in code-page bytes
};
