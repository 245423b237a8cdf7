#pragma once

class QPushButton;
class QWidget;

// The report form's keys: Ctrl+S presses Save (or Update), Ctrl+Enter presses Submit, from any
// box of the form; a button that is disabled ignores its key. The buttons' hints name the keys.
void installFormKeys(QWidget *form, QPushButton *save, QPushButton *submit);
