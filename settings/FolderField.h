#pragma once

#include <QWidget>

#include <functional>

class QLabel;
class QLineEdit;

namespace qm {

// A folder as editable text, with a chooser button, and below them what is wrong with it. Main thread.
class FolderField : public QWidget
{
public:
    // name is the label of the row; changed receives every text the user enters, committed is called once the user is
    // done.
    FolderField(const QString &name, std::function<void(const QString &)> changed, std::function<void()> committed);

    void setText(const QString &text);
    void setPlaceholder(const QString &text); // shown while the text is empty
    void setWarning(const QString &text);     // takes no room while it is empty
    void setChooserFolder(std::function<QString()> folder) { m_chooserFolder = std::move(folder); } // initial folder

protected:
    void changeEvent(QEvent *event) override;

private:
    void choose();
    void commit();
    void applyPalette();

    QString m_name;
    std::function<void(const QString &)> m_changed;
    std::function<void()> m_committed;
    std::function<QString()> m_chooserFolder;
    QLineEdit *m_edit;
    QLabel *m_warning;
};

// A path for display: the home folder is abbreviated to "~".
QString withTilde(const QString &path);

} // namespace qm
