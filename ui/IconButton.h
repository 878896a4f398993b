#pragma once

#include <QToolButton>

namespace qm {

// A button that shows a symbol in the palette's colours and says its name as help and to screen readers. Main thread.
// It gives way a little where a window is narrow.
class IconButton : public QToolButton
{
    Q_OBJECT

public:
    IconButton(const QString &symbol, const QString &help, QWidget *parent);

    void setActive(bool active); // tinted with the accent colour; the one chosen of several

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
