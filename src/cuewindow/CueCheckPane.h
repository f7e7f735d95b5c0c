#pragma once
// The findings of the cue list's pre-flight check, one line each, under the
// table; choosing one selects its cue.
#include "cuelist/CueCheck.h"

#include <QListWidget>

class CueCheckPane : public QListWidget {
    Q_OBJECT
public:
    explicit CueCheckPane(QWidget* parent = nullptr);
    // Shows the findings (and a line saying there are none).
    void showFindings(const QList<rz48::cuecheck::Finding>& findings, int cues);

signals:
    // A finding about a cue was chosen: its row, counted from 1.
    void rowChosen(int row);
};
