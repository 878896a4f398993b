#pragma once

#include <QSplitter>

namespace qm {

// A splitter whose handle is a thin line.
class LineSplitter : public QSplitter
{
public:
    explicit LineSplitter(QWidget *parent = nullptr);

protected:
    QSplitterHandle *createHandle() override;
};

} // namespace qm
