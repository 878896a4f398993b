#pragma once

#include <QToolButton>

namespace qm {

// A button that shows a symbol in the palette's colours and gives its name to tool tips and screen readers. Main
// thread. It shrinks slightly if the window is narrow.
class IconButton : public QToolButton
{
    Q_OBJECT

public:
    IconButton(const QString &symbol, const QString &help, QWidget *parent);

    void setActive(bool active); // tinted with the accent colour, to mark the current choice

    QSize sizeHint() const override { return {30, 28}; }
    QSize minimumSizeHint() const override { return {24, 28}; }

protected:
    void changeEvent(QEvent *event) override;

private:
    void tint();

    QString m_symbol;
    bool m_active = false;
    bool m_tinting = false;
};

} // namespace qm
