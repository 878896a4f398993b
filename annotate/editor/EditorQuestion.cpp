#include "annotate/editor/EditorQuestion.h"

#include "ui/AppLocale.h"

#include <QFileInfo>
#include <QMessageBox>
#include <QPushButton>

namespace qm {

static QMessageBox *sheet(const QString &text, const QString &detail, QWidget *window)
{
    auto *box =
        new QMessageBox(QMessageBox::Question, QStringLiteral("Quillmere"), text, QMessageBox::NoButton, window);
    box->setTextFormat(Qt::PlainText); // a file name may contain <b>
    box->setInformativeText(detail);
    box->setAttribute(Qt::WA_DeleteOnClose);
    return box;
}

QMessageBox *EditorQuestion::askToKeep(const QString &fileName, QWidget *window,
                                       const std::function<void(Keep)> &answered)
{
    QMessageBox *box = sheet(
        AppLocale::text(u"Save the annotations of “%1”?", u"「%1」の注釈を保存しますか?").arg(fileName),
        AppLocale::text(u"They have been neither saved nor copied.", u"まだ保存もコピーもされていません。"), window);
    auto *save = box->addButton(AppLocale::text(u"Save", u"保存"), QMessageBox::AcceptRole);
    auto *discard = box->addButton(AppLocale::text(u"Discard", u"破棄"), QMessageBox::DestructiveRole);
    auto *cancel = box->addButton(AppLocale::text(u"Cancel", u"キャンセル"), QMessageBox::RejectRole);
    box->setDefaultButton(save);
    box->setEscapeButton(cancel);
    QObject::connect(box, &QMessageBox::finished, window, [=] {
        const auto *clicked = box->clickedButton();
        answered(clicked == save ? Keep::save : clicked == discard ? Keep::discard : Keep::cancel);
    });
    box->open();
    return box;
}

QMessageBox *EditorQuestion::askToResume(const Draft::Left &left, QWidget *window,
                                         const std::function<void(bool resume)> &answered)
{
    QString detail =
        AppLocale::text(u"They were not saved when Quillmere ended.", u"前回の終了時に保存されませんでした。");
    if (left.picture == Draft::Left::Picture::changed)
        detail += u'\n' + AppLocale::text(u"The picture has changed since then.", u"その後、画像が変更されています。");
    QMessageBox *box = sheet(AppLocale::text(u"Go on with the annotations of “%1”?", u"「%1」の注釈を続けますか?")
                                 .arg(QFileInfo(left.sourcePath).fileName()),
                             detail, window);
    auto *resume = box->addButton(AppLocale::text(u"Continue", u"続ける"), QMessageBox::AcceptRole);
    auto *discard = box->addButton(AppLocale::text(u"Discard", u"破棄"), QMessageBox::DestructiveRole);
    box->setDefaultButton(resume);
    box->setEscapeButton(resume); // what can be undone
    QObject::connect(box, &QMessageBox::finished, window, [=] { answered(box->clickedButton() != discard); });
    box->open();
    return box;
}

} // namespace qm
