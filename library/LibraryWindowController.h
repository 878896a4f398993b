#pragma once

#include "index/OcrIndexer.h"

#include <functional>
#include <memory>

class QString;

namespace qm {

class LibraryView;

// Owns the single library window. Main thread. The window is created on the first show; closing hides it, and the next
// show brings it back as it was.
class LibraryWindowController
{
public:
    explicit LibraryWindowController(std::function<void(const QString &path)> annotate);
    ~LibraryWindowController();

    void show(); // in front of the others
    void setReading(const ReadingProgress &reading);
    LibraryView *window() const { return m_window.get(); } // null before the first show

private:
    std::function<void(const QString &path)> m_annotate;
    ReadingProgress m_reading;
    std::unique_ptr<LibraryView> m_window;
};

} // namespace qm
