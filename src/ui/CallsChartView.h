#pragma once

#include "store/SituationSummary.h"

#include <QWidget>

// The chart of calls per hour on the screen: CallsChart drawn on white, its description in words
// for a screen reader. It takes the focus, so that a reader can be taken to it with the keyboard.
class CallsChartView : public QWidget {
    Q_OBJECT

public:
    explicit CallsChartView(QWidget *parent = nullptr);

    void setCounts(const SituationSummary::Counts &counts);
    const SituationSummary::Counts &counts() const { return m_counts; }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    SituationSummary::Counts m_counts;
};
