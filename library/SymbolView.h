#pragma once

#include <QWidget>

namespace qm {

// A symbol as a picture in a layout, in the secondary text colour.
class SymbolView : public QWidget
{
public:
    SymbolView(const QString &symbol, int size, QWidget *parent = nullptr); // size in points

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    const QString m_symbol;
};

} // namespace qm
