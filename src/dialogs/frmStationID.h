#pragma once

#include <QDialog>
#include <array>

class QLabel;
class QLineEdit;
class QPushButton;
class ZelvatIni;

// "Zelvat Station ID": the operator enters or confirms who is taking calls and where. The values
// go into the station settings held in memory; there is no way out without valid entries.
class frmStationID : public QDialog {
    Q_OBJECT

public:
    explicit frmStationID(ZelvatIni &station, QWidget *parent = nullptr);

    // OK, and Escape anywhere: every field filled stores the values and closes; otherwise the
    // empty fields turn pale yellow and the dialog stays.
    void cmdOK_Click();
    bool validateFields();

    std::array<QLineEdit *, 6> txtSID {};
    QLabel *Label4 = nullptr;
    QPushButton *cmdOK = nullptr;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void reject() override;
    void closeEvent(QCloseEvent *event) override;

private:
    ZelvatIni &m_station;
    bool m_done = false;
};
