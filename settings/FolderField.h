#pragma once

#include <QWidget>

#include <functional>

class QLineEdit;

namespace qm {

// A folder as text, with a chooser beside it. Main thread.
class FolderField : public QWidget
{
public:
    // name is what the row is called; changed is given every text the user enters, committed follows when the user is done.
    FolderField(const QString &name, std::function<void(const QString &)> changed, std::function<void()> committed);

    void setText(const QString &text);
    void setPlaceholder(const QString &text); // shown while there is no text
    void setChooserFolder(std::function<QString()> folder) { m_chooserFolder = std::move(folder); } // where it begins

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
};

// A path as people read it: below the home folder it begins with "~".
QString withTilde(const QString &path);

} // namespace qm
