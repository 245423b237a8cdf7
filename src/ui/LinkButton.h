#pragma once

#include <QString>

class QPushButton;
class QWidget;

// A link in a strip of the report form: a flat, underlined button in the link colour, reached by
// Tab and clicked by Space as any button, while a click with the mouse leaves the focus where the
// operator was typing. `description` is what a screen reader and the tool tip say it does.
QPushButton *makeLinkButton(const QString &text, const QString &description, QWidget *parent);
