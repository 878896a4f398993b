#pragma once

#include "index/Shot.h"

#include <QDialog>

namespace qm {

// Lists the pictures that could not be read, with the reasons. Main thread; deletes itself when closed.
class ReadFailuresWindow : public QDialog
{
    Q_OBJECT

public:
    explicit ReadFailuresWindow(const QList<ReadFailure> &failures, QWidget *parent);
};

} // namespace qm
