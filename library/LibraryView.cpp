#include "library/LibraryView.h"

#include "index/SearchText.h"
#include "index/ShotStore.h"
#include "library/FieldGround.h"
#include "library/LibraryLook.h"
#include "library/LibraryStatus.h"
#include "library/LineSplitter.h"
#include "library/PreviewPane.h"
#include "library/ReadFailuresWindow.h"
#include "library/SecondaryLabel.h"
#include "library/ShotListView.h"
#include "library/SymbolView.h"
#include "platform/FolderListing.h"
#include "platform/Memory.h"
#include "ui/AppLocale.h"
#include "ui/IconButton.h"
#include "ui/SystemLook.h"

#include <QAbstractButton>
#include <QApplication>
#include <QBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPointer>
#include <QShortcut>
#include <QStackedLayout>

namespace qm {

static constexpr int listMinimum = 320; // points, like all of these
static constexpr int listIdeal = 380;
static constexpr int previewMinimum = 280;
static constexpr int searchPadding = 10;
static constexpr int searchSymbolSize = 16;
static constexpr int clearButton = 22;
static constexpr int emptySymbolSize = 48;

SearchResult LibraryView::findInIndex(const QString &text)
{
    return text.isEmpty() ? ShotStore::recent(resultLimit) : ShotStore::search(text, resultLimit);
}

LibraryView::LibraryView(Environment environment, QWidget *parent)
    : QWidget(parent)
    , m_environment(std::move(environment))
    , m_search(m_environment.main, m_environment.index,
               [this](const SearchResult &result, const QString &text) { setResult(result, text); })
{
    m_preview = new PreviewPane(m_environment.thumbnails, m_environment.places);
    m_preview->setMinimumWidth(previewMinimum);
    m_preview->onAction = [this](ShotAction action, const Shot &shot) { perform(action, Shot(shot)); };

    auto *split = new LineSplitter;
    split->addWidget(makeListPane());
    split->addWidget(m_preview);
    split->setStretchFactor(0, 0);
    split->setStretchFactor(1, 1);
    split->setSizes({listIdeal, previewMinimum});

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(split);

    auto *find = new QShortcut(QKeySequence::Find, this);
    connect(find, &QShortcut::activated, this, [this] {
        m_field->setFocus(Qt::ShortcutFocusReason);
        m_field->selectAll();
    });
    for (const auto &[key, step] : {std::pair(QKeySequence::FindNext, 1), std::pair(QKeySequence::FindPrevious, -1)}) {
        auto *go = new QShortcut(key, this);
        connect(go, &QShortcut::activated, this, [this, by = step] { m_preview->goToHit(by); });
    }
    const auto zoom = [this](const QKeySequence &key, std::function<void()> change) {
        connect(new QShortcut(key, this), &QShortcut::activated, this, std::move(change));
    };
    zoom(Qt::CTRL | Qt::Key_Plus, [this] { m_preview->zoomBy(1); });
    zoom(Qt::CTRL | Qt::Key_Equal, [this] { m_preview->zoomBy(1); }); // plus without Shift
    zoom(Qt::CTRL | Qt::Key_Minus, [this] { m_preview->zoomBy(-1); });
    zoom(Qt::CTRL | Qt::Key_0, [this] { m_preview->resetZoom(); });
    zoom(Qt::CTRL | Qt::Key_1, [this] { m_preview->setZoom(PictureZoom::actualSize()); });
    auto *close = new QShortcut(QKeySequence::Close, this);
    connect(close, &QShortcut::activated, this, [this] { window()->close(); });
    refresh();
}

LibraryView::~LibraryView() = default;

QWidget *LibraryView::makeListPane()
{
    m_field = new QLineEdit;
    m_field->setFrame(false);
    m_field->setPlaceholderText(
        AppLocale::text(u"Search by OCR text (empty = recent)", u"OCR テキストで検索（空欄で新しい順の履歴）"));
    m_field->setAccessibleName(AppLocale::text(u"Search", u"検索"));
    m_field->installEventFilter(this);
    connect(m_field, &QLineEdit::textChanged, this, [this] {
        scheduleReload();
        refresh();
    });

    tintSearch();
    auto *ground = new FieldGround;
    auto *groundLayout = new QHBoxLayout(ground);
    groundLayout->setContentsMargins(8, 4, 4, 4);
    groundLayout->setSpacing(6);
    groundLayout->addWidget(new SymbolView(QStringLiteral("magnifyingglass"), searchSymbolSize));
    groundLayout->addWidget(m_field);
    auto *clear = new IconButton(QStringLiteral("xmark.circle"), AppLocale::text(u"Clear", u"消去"), ground);
    clear->setAutoRaise(true);
    clear->setFixedSize(clearButton, clearButton);
    clear->setIconSize({searchSymbolSize, searchSymbolSize});
    clear->setFocusPolicy(Qt::NoFocus); // Escape does the same
    clear->hide();
    connect(clear, &QToolButton::clicked, m_field, &QLineEdit::clear);
    connect(m_field, &QLineEdit::textChanged, clear,
            [clear](const QString &text) { clear->setVisible(!text.isEmpty()); });
    groundLayout->addWidget(clear);
    auto *searchRow = new QHBoxLayout;
    searchRow->setContentsMargins(searchPadding, searchPadding, searchPadding, searchPadding);
    searchRow->addWidget(ground);

    m_list = new ShotListView(m_environment.thumbnails);
    m_list->onSelect = [this](std::optional<qint64> id) { setSelection(id); };
    m_list->onActivate = [this](const Shot &shot) { perform(ShotAction::copy, shot); };
    m_list->onContextMenu = [this](const Shot &shot, const QPoint &position) { showMenu(shot, position); };
    m_list->onLeaveUpwards = [this] { m_field->setFocus(); };

    m_listArea = new QStackedLayout;
    m_listArea->insertWidget(listArea, m_list);
    m_listArea->insertWidget(emptyArea, makeEmptyState());
    m_listArea->insertWidget(noMatchesArea, new SecondaryLabel(AppLocale::text(u"No matches", u"該当なし")));
    m_listArea->insertWidget(blankArea, new QWidget);
    m_matchNote = new SecondaryLabel(AppLocale::text(u"Nothing holds exactly this. These hold all of the words.",
                                                     u"一致なし。すべての語を含むものを表示しています。"));
    m_matchNote->setFont(LibraryLook::caption(m_matchNote->font()));
    m_matchNote->setContentsMargins(searchPadding, 0, searchPadding, searchPadding);
    m_status = new LibraryStatus;
    m_status->onReasons = [this] { showReadFailures(); };

    auto *pane = new QWidget;
    pane->setMinimumWidth(listMinimum);
    auto *layout = new QVBoxLayout(pane);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addLayout(searchRow);
    layout->addWidget(m_matchNote);
    layout->addLayout(m_listArea, 1);
    layout->addWidget(m_status);
    return pane;
}

QWidget *LibraryView::makeEmptyState()
{
    auto *title = new QLabel(AppLocale::text(u"No screenshots yet", u"まだスクショがありません"));
    QFont larger = title->font();
    larger.setPointSizeF(larger.pointSizeF() * 1.2);
    title->setFont(larger);
    title->setAlignment(Qt::AlignCenter);
    auto *hint = new SecondaryLabel(AppLocale::text(u"Un-indexed images can be OCR-indexed with `qms ocr`",
                                                    u"未OCRの画像があれば `qms ocr` で抽出できます"));
    hint->setFont(LibraryLook::caption(hint->font()));

    auto *page = new QWidget;
    auto *layout = new QVBoxLayout(page);
    layout->setContentsMargins(24, 24, 24, 24);
    layout->setSpacing(8);
    layout->addStretch();
    layout->addWidget(new SymbolView(QStringLiteral("photo.on.rectangle.angled"), emptySymbolSize), 0,
                      Qt::AlignHCenter);
    layout->addWidget(title);
    layout->addWidget(hint);
    layout->addStretch();
    return page;
}

// The field has no background of its own: it shares one with its symbol.
void LibraryView::tintSearch()
{
    QPalette own;
    own.setColor(QPalette::Base, Qt::transparent);
    own.setColor(QPalette::PlaceholderText, SystemLook::secondaryText(palette()));
    m_field->setPalette(own);
}

void LibraryView::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange && m_field)
        tintSearch();
    if (event->type() == QEvent::ActivationChange && isActiveWindow())
        lookForRestored();
}

void LibraryView::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    m_search.watch(true);
    m_dropping.cancel();
    refresh();
    if (event->spontaneous())
        return;
    m_field->setFocus();
    if (!m_didLoad) {
        m_didLoad = true;
        reload();
    }
}

// Also when minimised.
void LibraryView::hideEvent(QHideEvent *event)
{
    QWidget::hideEvent(event);
    m_search.watch(false);
    m_dropping = m_environment.main.postAfter(keptWhileHidden, [this] { dropPictures(); });
}

void LibraryView::dropPictures()
{
    m_preview->dropPicture();
    m_list->dropThumbnails();
    m_environment.thumbnails.clear();
    Memory::returnFree();
}

void LibraryView::scheduleReload()
{
    m_status->setNotice({});
    m_debounceTask = m_environment.main.postAfter(debounce, [this] { reload(); });
}

void LibraryView::reload()
{
    m_search.search(m_field->text().trimmed());
}

void LibraryView::setResult(const SearchResult &result, const QString &text)
{
    m_indexFailed = result.failed;
    if (!result.failed) {
        m_shots = result.shots;
        hideTrashed();
        lookForRestored();
        m_foundText = text;
        m_match = result.match;
        m_hasResult = true;
        m_status->setUnreadablePictures(result.unreadablePictures);
        if (!selected())
            m_selection.reset();
    }
    refresh();
}

void LibraryView::setReading(const ReadingProgress &reading)
{
    m_status->setReading(reading);
}

void LibraryView::showReadFailures()
{
    m_failures.start([] { return ShotStore::failures(); },
                     [this](const QList<ReadFailure> &failures) { (new ReadFailuresWindow(failures, this))->show(); });
}

void LibraryView::setSelection(std::optional<qint64> id)
{
    m_selection = id;
    m_status->setNotice({});
    refresh();
}

const Shot *LibraryView::selected() const
{
    for (const Shot &shot : m_shots) {
        if (shot.id == m_selection)
            return &shot;
    }
    return nullptr;
}

void LibraryView::refresh()
{
    const Shot *shot = selected();
    const QStringList terms = SearchText::terms(m_foundText, m_match);
    m_list->setContent(m_shots, terms, m_selection);
    m_preview->setShot(shot ? std::optional(*shot) : std::nullopt, terms);
    m_matchNote->setVisible(m_match == SearchResult::Match::words);
    m_status->setIndexFailed(m_indexFailed);
    m_listArea->setCurrentIndex(!m_shots.isEmpty()           ? listArea
                                : m_indexFailed              ? blankArea
                                : !m_field->text().isEmpty() ? noMatchesArea
                                : m_hasResult                ? emptyArea
                                                             : blankArea);
}

void LibraryView::perform(ShotAction action, const Shot &shot)
{
    switch (action) {
    case ShotAction::copy:
        return ShotActions::copyToClipboard(shot, [self = QPointer(this)](bool copied) {
            if (copied && self)
                self->m_preview->confirmCopy();
        });
    case ShotAction::annotate:
        if (m_environment.annotate)
            m_environment.annotate(shot.path);
        return;
    case ShotAction::showInFolder: return ShotActions::showInFolder(shot);
    case ShotAction::open: return ShotActions::open(shot);
    case ShotAction::moveToTrash: return moveToTrash(shot);
    }
}

// The row goes at once, and comes back if the file could not be moved. The index is left to the next scan.
void LibraryView::moveToTrash(const Shot &shot)
{
    const qsizetype row = m_shots.indexOf(shot);
    m_trashed.insert(shot.id, {shot.path});
    m_status->setNotice({});
    hideTrashed();
    if (m_selection == shot.id) {
        const Shot *next = m_shots.isEmpty() ? nullptr : &m_shots[std::clamp<qsizetype>(row, 0, m_shots.size() - 1)];
        m_selection = next ? std::optional(next->id) : std::nullopt;
    }
    refresh();
    m_environment.trash(shot.path, [self = QPointer(this), shot](const Outcome &outcome) {
        if (!self)
            return;
        if (outcome) {
            self->m_trashed[shot.id].isMoved = true;
            return;
        }
        self->m_trashed.remove(shot.id);
        self->m_status->setNotice(AppLocale::text(u"%1 could not be moved to the trash, and was not deleted.",
                                                  u"%1 をゴミ箱に入れられませんでした。ファイルは削除されていません。")
                                      .arg(shot.filename));
        self->m_status->setToolTip(outcome.reason());
        self->reload();
    });
}

void LibraryView::hideTrashed()
{
    m_shots.removeIf([this](const Shot &shot) { return m_trashed.contains(shot.id); });
}

// From the trash, by another program: the scan need not have missed it.
void LibraryView::lookForRestored()
{
    QList<std::pair<qint64, QByteArray>> moved;
    for (const auto &[id, trashed] : m_trashed.asKeyValueRange()) {
        if (trashed.isMoved)
            moved.append({id, trashed.path.toUtf8()});
    }
    if (moved.isEmpty())
        return;
    m_restoring.start(
        [moved] {
            QList<qint64> restored;
            for (const auto &[id, path] : moved) {
                if (FolderListing::existence(path) == FolderListing::Existence::exists)
                    restored << id;
            }
            return restored;
        },
        [this](const QList<qint64> &restored) {
            for (const qint64 id : restored)
                m_trashed.remove(id);
            if (!restored.isEmpty())
                reload();
        });
}

void LibraryView::showMenu(const Shot &shot, const QPoint &globalPosition)
{
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    for (const ShotAction action : {ShotAction::copy, ShotAction::annotate, ShotAction::showInFolder, ShotAction::open,
                                    ShotAction::moveToTrash}) {
        if (action == ShotAction::moveToTrash)
            menu->addSeparator();
        menu->addAction(ShotActions::title(action), this, [this, action, shot] { perform(action, shot); });
    }
    menu->popup(globalPosition);
}

// Also receives keys ignored by the field, the list and the text.
void LibraryView::keyPressEvent(QKeyEvent *event)
{
    const bool plain = !(event->modifiers() & ~(Qt::ShiftModifier | Qt::KeypadModifier));
    const QString text = event->text();
    if (event->key() == Qt::Key_Escape) {
        escape();
    } else if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        if (auto *button = qobject_cast<QAbstractButton *>(focusWidget()); button && button->hasFocus())
            button->click();
        else if (const Shot *shot = selected())
            perform(ShotAction::copy, *shot);
    } else if (event->key() == Qt::Key_Delete && m_list->hasFocus()) {
        if (const Shot *shot = selected())
            perform(ShotAction::moveToTrash, Shot(*shot));
    } else if (event == QKeySequence::Copy) {
        if (const Shot *shot = selected())
            perform(ShotAction::copy, *shot);
    } else if (plain && !text.isEmpty() && text.front().isPrint() && !text.front().isSpace() && !m_field->hasFocus()) {
        m_field->setFocus();
        m_field->end(false);
        m_field->insert(text);
    } else {
        QWidget::keyPressEvent(event);
    }
}

bool LibraryView::fieldKey(const QKeyEvent &event)
{
    if (event.key() == Qt::Key_Down) {
        if (!m_shots.isEmpty())
            m_list->enter();
        return true;
    }
    if (event.matches(QKeySequence::Copy) && !m_field->hasSelectedText()) {
        if (const Shot *shot = selected())
            perform(ShotAction::copy, *shot);
        return true;
    }
    return false;
}

bool LibraryView::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_field && event->type() == QEvent::KeyPress)
        return fieldKey(*static_cast<QKeyEvent *>(event));
    return QWidget::eventFilter(watched, event);
}

void LibraryView::escape()
{
    if (m_field->text().isEmpty()) {
        window()->close();
        return;
    }
    m_field->clear();
    m_field->setFocus();
}

} // namespace qm
