#include "library/PreviewPane.h"

#include "library/ActionRow.h"
#include "library/HitBar.h"
#include "library/LibraryLook.h"
#include "library/PreviewPicture.h"
#include "library/RecognisedText.h"
#include "library/SecondaryLabel.h"
#include "library/SymbolView.h"
#include "library/ZoomBar.h"
#include "ui/AppLocale.h"

#include <QFileInfo>
#include <QProgressBar>
#include <QScreen>
#include <QStackedLayout>
#include <QVBoxLayout>

namespace qm {

static constexpr int margin = 14;
static constexpr int gap = 12;
static constexpr int progressWidth = 120;
static constexpr int failureSymbolSize = 36;

PreviewPane::PreviewPane(ThumbnailCache &cache, Places places, QWidget *parent)
    : QWidget(parent)
    , m_loader(cache)
    , m_places(std::move(places))
{
    m_pages = new QStackedLayout(this);
    m_pages->addWidget(makePlaceholder());
    m_pages->addWidget(makeContent());
    connect(&m_loader, &ImageLoader::changed, this, &PreviewPane::refresh);
    refresh();
}

QWidget *PreviewPane::makePlaceholder()
{
    auto *page = new QWidget;
    auto *layout = new QVBoxLayout(page);
    layout->setContentsMargins(margin, margin, margin, margin);
    layout->addWidget(new SecondaryLabel(
        AppLocale::text(u"Select an item to preview it here", u"項目を選ぶとここにプレビューが出ます")));
    return page;
}

QWidget *PreviewPane::makeFailure()
{
    auto *page = new QWidget;
    auto *layout = new QVBoxLayout(page);
    layout->addStretch();
    layout->addWidget(new SymbolView(QStringLiteral("exclamationmark.triangle"), failureSymbolSize), 0,
                      Qt::AlignHCenter);
    m_failureText = new SecondaryLabel(QString());
    layout->addWidget(m_failureText);
    layout->addStretch();
    return page;
}

QWidget *PreviewPane::makeContent()
{
    auto *bar = new QProgressBar;
    bar->setRange(0, 0);
    bar->setTextVisible(false);
    bar->setFixedWidth(progressWidth);
    bar->setAccessibleName(AppLocale::text(u"Loading", u"読み込み中"));
    m_progress = new QWidget;
    (new QVBoxLayout(m_progress))->addWidget(bar, 0, Qt::AlignCenter);

    m_picture = new PreviewPicture;
    m_failure = makeFailure();
    auto *area = new QWidget;
    m_area = new QStackedLayout(area);
    m_area->addWidget(m_progress);
    m_area->addWidget(m_picture);
    m_area->addWidget(m_failure);

    m_text = new RecognisedText;
    m_hits = new HitBar;
    m_hits->onStep = [this](int step) { goToHit(step); };
    m_text->onMarks = [this] {
        m_currentHit = 0;
        showHits();
    };
    m_zoom = new ZoomBar;
    m_zoom->onZoom = [this](const PictureZoom &zoom) { setZoom(zoom); };
    m_picture->onZoom = [this] { m_zoom->setZoom(m_picture->zoom(), m_picture->percentage(), m_picture->isTall()); };
    m_picture->onSelect = [this](const TextMatch::Range &range) { m_text->select(range); };
    m_actions = new ActionRow;
    m_actions->onAction = [this](ShotAction action) {
        if (m_shot && onAction)
            onAction(action, *m_shot);
    };

    auto *page = new QWidget;
    auto *layout = new QVBoxLayout(page);
    layout->setContentsMargins(margin, margin, margin, margin);
    layout->setSpacing(gap);
    layout->addWidget(area, 1);
    auto *underPicture = new QHBoxLayout;
    underPicture->addWidget(m_hits);
    underPicture->addStretch();
    underPicture->addWidget(m_zoom);
    layout->addLayout(underPicture);
    layout->addWidget(m_text);
    layout->addWidget(m_actions);
    return page;
}

void PreviewPane::setShot(const std::optional<Shot> &shot, const QStringList &terms)
{
    if (m_shot && shot && m_shot->path == shot->path && m_shot != shot)
        m_loader.forget();
    if (!m_shot || !shot || m_shot->id != shot->id || m_shot->ocrText != shot->ocrText) {
        m_picture->setText({});
        m_hasPlaces = false;
        m_finding.drop();
    }
    m_shot = shot;
    if (shot) {
        findPlaces();
        const QSize pixels = screen()->size() * screen()->devicePixelRatio();
        m_loader.load(shot->path, std::max(pixels.width(), pixels.height()));
        m_text->setContent(shot->ocrText.value_or(QString()), terms);
    }
    refresh();
}

void PreviewPane::dropPicture()
{
    m_loader.drop();
    m_picture->setImage({}, {});
}

// Asked for with every new list until they are there: they may have been read meanwhile.
void PreviewPane::findPlaces()
{
    const QString text = m_shot->ocrText.value_or(QString());
    if (m_hasPlaces || !m_places.find || text.isEmpty() || m_finding.isUnderWay())
        return;
    m_finding.start([find = m_places.find, id = m_shot->id] { return find(id); },
                    [this, id = m_shot->id, text](const ShotPlaces &places) {
                        m_hasPlaces = places.boxes.has_value();
                        if (m_hasPlaces) {
                            m_picture->setText(PictureText(text, *places.boxes));
                            m_picture->setMarks(m_text->marks(), m_currentHit);
                        } else if (places.unread && m_places.readAgain && !m_toReadAgain.contains(id)) {
                            m_toReadAgain.insert(id);
                            m_places.readAgain(id);
                        }
                    });
}

void PreviewPane::showHits()
{
    const QList<TextMatch::Range> &hits = m_text->marks();
    m_hits->setHits(hits.size(), m_currentHit);
    m_picture->setMarks(hits, m_currentHit);
    m_picture->reveal();
    if (m_currentHit < hits.size())
        m_text->reveal(hits[m_currentHit]);
}

void PreviewPane::goToHit(int step)
{
    const qsizetype count = m_text->marks().size();
    if (!m_shot || count == 0)
        return;
    m_currentHit = (m_currentHit + step + count) % count;
    showHits();
}

void PreviewPane::zoomBy(int steps)
{
    m_picture->zoomBy(steps);
}

void PreviewPane::setZoom(const PictureZoom &zoom)
{
    m_picture->setZoom(zoom);
}

void PreviewPane::resetZoom()
{
    m_picture->resetZoom();
}

PreviewPane::Showing PreviewPane::showing() const
{
    if (!m_shot)
        return Showing::placeholder;
    if (m_loader.failed())
        return Showing::failure;
    return m_loader.image().isNull() ? Showing::progress : Showing::picture;
}

QString PreviewPane::failureText() const
{
    const QFileInfo folder(
        QFileInfo(m_shot->path).path()); // asked on a thread a moment ago, so this does not wait long
    if (!folder.isDir())
        return AppLocale::text(u"The folder %1 is not there", u"フォルダー %1 が見つかりません").arg(folder.filePath());
    if (!QFileInfo::exists(m_shot->path))
        return AppLocale::text(u"The file is gone", u"ファイルがありません");
    return AppLocale::text(u"Can't load this image", u"この画像を読み込めません");
}

void PreviewPane::refresh()
{
    m_pages->setCurrentIndex(m_shot ? 1 : 0);
    if (!m_shot)
        return;
    m_picture->setImage(m_loader.image(), m_shot->path);
    m_picture->setAccessibleName(m_shot->filename);
    if (m_loader.failed())
        m_failureText->setText(failureText());
    m_area->setCurrentWidget(showing() == Showing::failure   ? m_failure
                             : showing() == Showing::picture ? static_cast<QWidget *>(m_picture)
                                                             : m_progress);
    m_text->setVisible(m_shot->ocrText && !m_shot->ocrText->trimmed().isEmpty());
}

void PreviewPane::confirmCopy()
{
    m_actions->confirmCopy();
}

} // namespace qm
