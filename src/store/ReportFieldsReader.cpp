#include "store/ReportFieldsReader.h"

#include "support/CodePage.h"

ReportFieldsReader::ReportFieldsReader(ZelvatMsg &loader)
    : m_loader(loader)
    , m_folder(loader.messageFolder())
{
}

const ZelvatMsg::Fields &ReportFieldsReader::read(const QString &name, bool *ok, std::optional<quint64> listedInode)
{
    *ok = ZelvatMsg::readFields(m_folder, name, &m_bytes, &m_fields, listedInode);
    if (*ok)
        return m_fields;
    *ok = m_loader.Load(name);
    for (ZelvatMsg::Key k : ZelvatMsg::allKeys()) {
        const int f = int(k);
        m_loaded[f] = CodePage::encode(m_loader.rawText(k));
        m_fields.text[f] = m_loaded[f];
        m_fields.number[f] = m_loader.number(k);
    }
    return m_fields;
}
