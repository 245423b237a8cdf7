#include "dialogs/frmStationID.h"

#include "ui/Captions.h"
#include "ui/Paint.h"
#include "ui/Twips.h"
#include "settings/ZelvatIni.h"
#include "support/CommonConst.h"
#include "support/FilterKey.h"
#include "support/Platform.h"
#include "support/StringLib.h"

#include <QApplication>
#include <QCloseEvent>
#include <QGroupBox>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

frmStationID::frmStationID(ZelvatIni &station, QWidget *parent)
    : QDialog(parent)
    , m_station(station)
{
    setObjectName(QStringLiteral("frmStationID"));
    setWindowTitle(QStringLiteral("Zelvat Station ID"));
    setFont(QFont(QStringLiteral("Calibri"), 11));
    setModal(true);

    Label4 = new QLabel(this);
    Label4->setObjectName(QStringLiteral("Label4"));
    Label4->setWordWrap(true);
    Label4->setText(QStringLiteral("Enter or confirm your name, user ID, and this location.  Press OK when done."));
    Twips::place(Label4, 240, 120, 5400, 560);

    auto *frame = new QGroupBox(QStringLiteral("Identification"), this);
    Twips::place(frame, 240, 720, 5400, 3000);
    static const char *labels[6] = {"Name:", "User ID/Call Sign:", "Location:", "Location ID:", "Next Event No:", "City:"};
    for (int i = 0; i < 6; ++i) {
        txtSID[i] = new QLineEdit(frame);
        txtSID[i]->setObjectName(QStringLiteral("txtSID_%1").arg(i));
        txtSID[i]->installEventFilter(this);
        auto *label = new QLabel(QString::fromLatin1(labels[i]), frame);
        label->setBuddy(txtSID[i]);
        Twips::place(label, 150, 330.0 + i * 440, 1900, 330);
        Twips::place(txtSID[i], 2100, 300.0 + i * 440, i == 3 ? 800 : 3000, 340);
    }
    auto *hint = new QLabel(QStringLiteral("(3 Char; not Station ID)"), frame);
    Twips::place(hint, 3000, 330.0 + 3 * 440, 2300, 330);
    txtSID[3]->setMaxLength(3);

    cmdOK = new QPushButton(QStringLiteral("OK"), this);
    cmdOK->setObjectName(QStringLiteral("cmdOK"));
    cmdOK->setDefault(true);
    Twips::place(cmdOK, 4440, 3840, 1200, 400);
    connect(cmdOK, &QPushButton::clicked, this, &frmStationID::cmdOK_Click);
    setFixedSize(Twips::toPixels(this, 5880), Twips::toPixels(this, 4440));
    Captions::fit(this);

    txtSID[0]->setText(station.Nam);
    txtSID[1]->setText(station.Uid);
    txtSID[2]->setText(station.Loc);
    txtSID[3]->setText(station.Lid);
    txtSID[4]->setText(StringLib::zeroPadded(station.Eno, 4));
    txtSID[5]->setText(station.Cty);
}

bool frmStationID::eventFilter(QObject *watched, QEvent *event)
{
    const int index = int(std::find(txtSID.begin(), txtSID.end(), watched) - txtSID.begin());
    if (index >= 6)
        return QDialog::eventFilter(watched, event);
    QLineEdit *box = txtSID[index];
    if (event->type() == QEvent::FocusOut && (index == 0 || index == 5)) {
        const QString proper = StringLib::properCase(box->text());
        if (proper != box->text())
            box->setText(proper);
    }
    if (event->type() != QEvent::KeyPress)
        return QDialog::eventFilter(watched, event);
    auto *key = static_cast<QKeyEvent *>(event);
    if (key->key() == Qt::Key_Escape) {
        cmdOK_Click();
        return true;
    }
    // Every key press clears an earlier highlight of the field.
    Paint::clear(box);
    const QString text = key->text();
    if (text.size() != 1 || key->key() == Qt::Key_Tab || key->key() == Qt::Key_Backtab || key->key() == Qt::Key_Return
        || key->key() == Qt::Key_Enter)
        return QDialog::eventFilter(watched, event);
    quint16 k = text[0].unicode();
    if (index == 1 || index == 3)
        k = FilterKey(QChar(k).toUpper().unicode(), QString::fromLatin1(Zelvat::StationIdSet), true);
    else if (index == 4)
        k = FilterKey(k, QString::fromLatin1(Zelvat::DigitSet), true);
    else
        return QDialog::eventFilter(watched, event);
    if (k == 0) {
        QApplication::beep();
        return true;
    }
    if (k != text[0].unicode()) {
        box->insert(QString(QChar(k)));
        return true;
    }
    return QDialog::eventFilter(watched, event);
}

bool frmStationID::validateFields()
{
    bool ok = true;
    for (QLineEdit *box : txtSID) {
        if (StringLib::trimBlanks(box->text()).isEmpty()) {
            Paint::paint(box, Paint::colour(Zelvat::MissingDataColour));
            ok = false;
        }
    }
    return ok;
}

void frmStationID::cmdOK_Click()
{
    if (!validateFields())
        return;
    const QString number = StringLib::trimBlanks(txtSID[4]->text());
    RunError error;
    // Event numbers stop at 32767: a larger counter could never give one.
    const auto eno = StringLib::toInteger(number, 0, 32767, QStringLiteral("Next Event No %1").arg(number), &error);
    if (!eno) {
        // Only digits can be typed; other text arrives only through the mouse's paste.
        notify(error.number == RunError::Overflow
                   ? QStringLiteral("The Next Event No %1 is too large; enter a number up to 32767.").arg(number)
                   : QStringLiteral("The Next Event No \"%1\" is not a number; enter digits only.").arg(number),
               Notice::Exclamation);
        txtSID[4]->setFocus();
        return;
    }
    m_station.Nam = StringLib::trimBlanks(txtSID[0]->text());
    m_station.Uid = StringLib::trimBlanks(txtSID[1]->text());
    m_station.Loc = StringLib::trimBlanks(txtSID[2]->text());
    m_station.Lid = StringLib::trimBlanks(txtSID[3]->text());
    m_station.Eno = qint32(*eno);
    m_station.Cty = StringLib::trimBlanks(txtSID[5]->text());
    m_done = true;
    accept();
}

void frmStationID::reject()
{
    cmdOK_Click(); // Escape and the close box do what OK does
}

void frmStationID::closeEvent(QCloseEvent *event)
{
    if (m_done) {
        QDialog::closeEvent(event);
        return;
    }
    event->ignore();
    cmdOK_Click();
}
