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

protected:
    void keyPressEvent(QKeyEvent *event) override;
};

} // namespace qm
