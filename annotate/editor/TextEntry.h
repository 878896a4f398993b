#pragma once

#include <QLineEdit>

#include <functional>

namespace qm {

// The field in which the text of an item is typed, input methods included. Main thread.
// While it has the focus all keys but Escape are its own: neither the canvas nor the editor hears of them.
class TextEntry : public QLineEdit
{
    Q_OBJECT

public:
    static constexpr QSize standardSize{200, 24}; // points

    TextEntry(const QString &text, QWidget *parent);

    std::function<void()> onReturn; // may let go of the field

protected:
    void keyPressEvent(QKeyEvent *event) override;
};

} // namespace qm
