#pragma once

#include <functional>
#include <memory>

class QString;

namespace qm {

class LibraryView;

// Owner of the one library window. Main thread. The window is made at the first show; closing hides it, and the next show
// brings it back as it was left.
class LibraryWindowController
{
public:
    explicit LibraryWindowController(std::function<void(const QString &path)> annotate);
    ~LibraryWindowController();

    void show();                                           // in front of the others
    LibraryView *window() const { return m_window.get(); } // none before the first show

private:
    std::function<void(const QString &path)> m_annotate;
    std::unique_ptr<LibraryView> m_window;
};

} // namespace qm
