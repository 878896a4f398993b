#pragma once

#include "platform/TaskQueue.h"
#include "settings/GeneralSettings.h"
#include "settings/KeyListener.h"
#include "ui/LatestJob.h"

#include <QWidget>

class QCheckBox;
class QComboBox;
class QFormLayout;
class QLabel;
class QPushButton;
class QSlider;

namespace qm {

class FolderField;
class KeyTest;

// The "Settings" tab. Edits a copy of the settings; save() writes it. Unsaved edits survive hiding, and values the user
// has not touched are updated from the files whenever the form is shown. Main thread.
class GeneralForm : public QWidget
{
public:
    GeneralForm(TaskQueue &main, std::function<void()> changed, KeyListener listener);

protected:
    void showEvent(QShowEvent *event) override;
    void changeEvent(QEvent *event) override;
    bool event(QEvent *event) override;
    bool eventFilter(QObject *object, QEvent *event) override;

private:
    enum class Message { none, saved, failed };

    QWidget *makeForm();
    void addStorage(QFormLayout &form);
    void addHotkey(QFormLayout &form);
    QWidget *makeFooter();
    FolderField *makeFolderField(const QString &name, QString GeneralSettings::*path, std::function<void()> committed);

    void reload();
    void save();
    void revert();
    void cloudCommitted();
    void askForSource();
    void edited(); // call after every change by the user
    void scheduleRefresh();
    void refresh();
    void refreshFooter();

    TaskQueue &m_main;
    std::function<void()> m_changed;
    KeyListener m_listener;
    GeneralSettings m_state;
    GeneralSettings m_saved; // as in the files
    QString m_sourceWhenEmpty;
    Message m_message = Message::none;
    QString m_failure;
    bool m_refreshScheduled = false;
    LatestJob m_sourceQuestion;

    FolderField *m_captures = nullptr;
    FolderField *m_source = nullptr;
    FolderField *m_cloud = nullptr;
    QComboBox *m_modifier = nullptr;
    QSlider *m_threshold = nullptr;
    QLabel *m_thresholdValue = nullptr;
    KeyTest *m_keyTest = nullptr;
    QCheckBox *m_autoOcr = nullptr;
    QCheckBox *m_launchAtLogin = nullptr;
    QLabel *m_messageIcon = nullptr;
    QLabel *m_messageText = nullptr;
    QPushButton *m_revert = nullptr;
    QPushButton *m_save = nullptr;
    QList<QLabel *> m_captions;
};

} // namespace qm
