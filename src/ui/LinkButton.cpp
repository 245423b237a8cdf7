#include "ui/LinkButton.h"

#include <QPushButton>

QPushButton *makeLinkButton(const QString &text, const QString &description, QWidget *parent)
{
    auto *link = new QPushButton(text, parent);
    link->setFlat(true);
    link->setCursor(Qt::PointingHandCursor);
    link->setFocusPolicy(Qt::TabFocus); // reached by Tab; a click leaves the focus where it was
    link->setForegroundRole(QPalette::Link);
    QFont underlined = link->font();
    underlined.setUnderline(true);
    link->setFont(underlined);
    link->setAccessibleDescription(description);
    link->setToolTip(description);
    return link;
}
