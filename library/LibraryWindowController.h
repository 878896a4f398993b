#pragma once

#include <memory>

class QWidget;

namespace qm {

// The library window. Main thread; the window is made at the first show.
class LibraryWindowController
{
public:
    LibraryWindowController();
    ~LibraryWindowController();

    void show(); // in front of the others

private:
    std::unique_ptr<QWidget> m_window;
};

} // namespace qm
