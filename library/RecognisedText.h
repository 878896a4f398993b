#pragma once

#include "index/TextMatch.h"
#include "ui/LatestJob.h"

#include <QPlainTextEdit>

namespace qm {

// The recognised text of a screenshot, for reading and selecting, with matches of the search marked. As high as its
// lines, up to a few. Main thread; the search runs on another, as a text may be long.
class RecognisedText : public QPlainTextEdit
{
    Q_OBJECT

public:
    explicit RecognisedText(QWidget *parent = nullptr);

    void setContent(const QString &text, const QStringList &terms);
    const QList<TextMatch::Range> &marks() const { return m_marks; }
    std::function<void()> onMarks; // others than before

    void reveal(const TextMatch::Range &range); // scrolls there
    void select(const TextMatch::Range &range); // and selects it

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void setMarks(const QList<TextMatch::Range> &marks);
    void showMarks();
    void fitHeight();

    QString m_text;
    QStringList m_terms;
    QList<TextMatch::Range> m_marks;
    LatestJob m_looking;
};

} // namespace qm
