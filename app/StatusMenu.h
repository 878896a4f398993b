#pragma once

#include "app/Command.h"

#include <QMenu>

#include <functional>

namespace qm {

// The menu of the tray icon. Its shortcuts work while it is open. Main thread.
class StatusMenu : public QMenu
{
    Q_OBJECT

public:
    explicit StatusMenu(std::function<void(const Command &)> chosen);

    // Where the menu was when a command was chosen from it, shadow included, in native pixels of the desktop. Null if the
    // tray drew it, which does not say where.
    QRect takePlace();

protected:
    void showEvent(QShowEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    QRect m_place; // native pixels; null unless it was shown by us
};

} // namespace qm
