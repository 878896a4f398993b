#pragma once

#include <QLineEdit>

#include <functional>

namespace qm {

// Field for typing the text of an item, with input method support. Main thread. While it has focus, it keeps every key
// but Escape; neither the canvas nor the editor sees them.
class TextEntry : public QLineEdit
{
    Q_OBJECT

public:
    static constexpr QSize standardSize{200, 24}; // points

    TextEntry(const QString &text, QWidget *parent);

    std::function<void()> onReturn; // may delete the field

protected:
    void keyPressEvent(QKeyEvent *event) override;
};

} // namespace qm
