#include "library/ReadFailuresWindow.h"

#include "library/SecondaryLabel.h"
#include "platform/Workspace.h"
#include "ui/AppLocale.h"
#include "ui/HelperReason.h"

#include <QFileInfo>
#include <QHeaderView>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace qm {

static constexpr QSize contentSize = {600, 320}; // points

ReadFailuresWindow::ReadFailuresWindow(const QList<ReadFailure> &failures, QWidget *parent)
    : QDialog(parent)
{
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(AppLocale::text(u"Screenshots That Can't Be Read", u"読み取れないスクリーンショット"));
    auto *list = new QTreeWidget;
    list->setAccessibleName(windowTitle());
    list->setHeaderLabels({AppLocale::text(u"File", u"ファイル"), AppLocale::text(u"Reason", u"理由")});
    list->setRootIsDecorated(false);
    list->setUniformRowHeights(true);
    for (const ReadFailure &failure : failures) {
        const QString reason = HelperReason::shown(failure.reason);
        auto *row = new QTreeWidgetItem(list, {QFileInfo(failure.path).fileName(), reason});
        row->setToolTip(0, failure.path);
        row->setToolTip(1, reason);
    }
    list->header()->setSectionResizeMode(0, QHeaderView::ResizeToContents);
    connect(list, &QTreeWidget::itemActivated, this,
            [](const QTreeWidgetItem *row) { Workspace::reveal(row->toolTip(0)); });
    auto *hint =
        new SecondaryLabel(AppLocale::text(u"They are tried again from time to time. A double click shows the file.",
                                           u"ときどき読み取りを再試行します。ダブルクリックでファイルを表示します。"));
    hint->setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(list);
    layout->addWidget(hint);
    resize(contentSize);
}

} // namespace qm
