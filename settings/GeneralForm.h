#pragma once

#include "platform/TaskQueue.h"
#include "settings/FolderCheck.h"
#include "settings/GeneralSettings.h"
#include "settings/KeyListener.h"
#include "ui/LatestJob.h"

#include <QWidget>

#include <optional>
#include <utility>

class QCheckBox;
class QComboBox;
class QFormLayout;
class QLabel;
class QPushButton;
class QSlider;

namespace qm {

class FolderField;
class KeyTest;
class RoadField;

// The "Settings" tab. Edits a copy of the settings; save() writes what the user has touched. Unsaved edits survive hiding,
// and values the user has not touched are updated from the files whenever the form is shown. The folders that are entered
// are looked at on a thread of their own, since one may be on a network that does not answer: after a pause in typing,
// and before saving. Main thread.
class GeneralForm : public QWidget
{
public:
    GeneralForm(TaskQueue &main, std::function<void()> changed, KeyListener listener);

    bool stop(std::chrono::milliseconds limit); // at quit; false if a folder still does not answer after the limit

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
    QCheckBox *addCheckBox(QFormLayout &form, const QString &title, bool GeneralSettings::*value);
    FolderField *makeFolderField(const QString &name, QString GeneralSettings::*path, std::function<void()> committed);

    void reload();
    void follow(const GeneralSettings &files);
    void save(); // once the folders have been checked
    void saveChecked();
    void revert();
    void check();
    void checked(const FolderCheck &found);
    void askForSource();
    void edited(); // call after every change by the user
    void folderEdited();
    void scheduleRefresh();
    void refresh();
    void refreshFooter();

    TaskQueue &m_main;
    std::function<void()> m_changed;
    KeyListener m_listener;
    GeneralSettings m_state;
    GeneralSettings m_saved; // as in the files; those of the entered shared folder if it has settings
    QString m_sourceWhenEmpty;
    Message m_message = Message::none;
    QString m_failure;
    bool m_refreshScheduled = false;
    bool m_saveRequested = false; // waits for the check of the folders
    std::optional<FolderCheck> m_found;
    Timer m_checkTimer;
    std::pair<GeneralSettings, GeneralSettings> m_checking; // entered and saved ones that the check is about
    LatestJob m_check{16};
    LatestJob m_sourceQuestion;

    FolderField *m_captures = nullptr;
    FolderField *m_source = nullptr;
    FolderField *m_cloud = nullptr;
    QComboBox *m_modifier = nullptr;
    QSlider *m_threshold = nullptr;
    QLabel *m_thresholdValue = nullptr;
    KeyTest *m_keyTest = nullptr;
    RoadField *m_road = nullptr;
    QCheckBox *m_showPreview = nullptr;
    QCheckBox *m_autoOcr = nullptr;
    QCheckBox *m_launchAtLogin = nullptr;
    QLabel *m_messageIcon = nullptr;
    QLabel *m_messageText = nullptr;
    QPushButton *m_revert = nullptr;
    QPushButton *m_save = nullptr;
    QList<QLabel *> m_captions;
};

} // namespace qm
