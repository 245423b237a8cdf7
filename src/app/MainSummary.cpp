#include "app/frmZelvatmain.h"

#include "dialogs/frmSummary.h"

// One summary window per main window, kept when closed: F9 shows it again as it was left, with
// the counts brought up to date. The list's refills refresh it (syncList), so it follows every
// change the catalog takes in, the folder watch's as well as the report form's saves.
void frmZelvatmain::mnuSummary_Click()
{
    if (!m_catalog)
        return;
    if (!m_summary)
        m_summary = new frmSummary(m_catalog.get(), this);
    else
        m_summary->refresh();
    m_summary->show();
    m_summary->raise();
    m_summary->activateWindow();
}

frmSummary *frmZelvatmain::summaryWindow() const
{
    return m_summary;
}
