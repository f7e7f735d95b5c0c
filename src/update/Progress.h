#pragma once
// One report of an update worker: the text for the status label and the
// percentage for the bar. Handed to the panel by value.
#include <QMetaType>
#include <QString>

struct Progress {
    QString msg;
    int percent = 0;
};

Q_DECLARE_METATYPE(Progress)
