#include "settings/RoadField.h"

#include "platform/CaptureRoad.h"
#include "ui/AppLocale.h"
#include "ui/RoadName.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPointer>
#include <QPushButton>

namespace qm {

using AppLocale::text;

RoadField::RoadField()
    : m_name(new QLabel)
    , m_askAgain(new QPushButton(text(u"Ask Again", u"もう一度確認")))
{
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_name, 1);
    layout->addWidget(m_askAgain);
    m_name->setWordWrap(true);
    m_name->setObjectName(QStringLiteral("road"));
    m_askAgain->setAutoDefault(false);
    m_askAgain->setToolTip(text(u"The next capture asks again whether screenshots are allowed.",
                                u"次に撮影するとき、スクリーンショットを許可するかどうかを改めて確認します。"));
    m_askAgain->hide();
    connect(m_askAgain, &QPushButton::clicked, this, [this] {
        CaptureRoad::askAgain([field = QPointer(this)] {
            if (field)
                field->refresh();
        });
    });
}

void RoadField::refresh()
{
    m_question.start([] { return CaptureRoad::current(); },
                     [this](const CaptureRoad &road) {
                         const QString name = roadName(road.kind);
                         m_name->setText(road.isDenied ? text(u"%1: not allowed", u"%1 — 許可されていません").arg(name)
                                                       : name);
                         m_askAgain->setVisible(road.isDenied);
                     });
}

} // namespace qm
