#pragma once

#include <QWidget>

#include <optional>

class QLabel;

namespace qm {

// The "About" tab. Main thread.
class AboutView : public QWidget
{
public:
    AboutView();

protected:
    void showEvent(QShowEvent *event) override;
    void changeEvent(QEvent *event) override;
    bool event(QEvent *event) override;

private:
    QWidget *makeHeading();
    QWidget *makeRows();
    QWidget *makeLicences();
    void refresh();

    QLabel *m_icon = nullptr;
    QLabel *m_launchAtLogin = nullptr;
    QLabel *m_licence = nullptr;
    QList<QLabel *> m_libraryLicences;
};

// "1.4 (27)"; missing parts are shown as "?".
QString appVersion(const std::optional<QString> &shortVersion, const std::optional<QString> &version);

} // namespace qm
