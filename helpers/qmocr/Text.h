#pragma once

#include "helpers/qmocr/Line.h"

#include <QString>

#include <optional>

namespace qm::ocr {

// The symbols as a line for searching: composed (NFC), no control characters, single blanks, none at the ends and none
// between Japanese characters, where the recogniser inserts them at random and Japanese has none. None if nothing is left.
std::optional<Line> lineOf(const QList<Symbol> &symbols);

constexpr double sureConfidence = 80; // of a word: nearly all that have it are right

bool isSure(const Line &line);         // in all its words
bool isJapanese(const Symbol &symbol); // or punctuation written among Japanese

// Two readings of a line, put together: where their words differ, those with the higher confidence stand. Japanese
// characters that both have get at least the confidence `agreed`.
QList<Symbol> better(const QList<Symbol> &one, const QList<Symbol> &other, double agreed = 0);

double confidenceOf(const QList<Symbol> &symbols); // the mean; 0 of none

// The words whose middle lies from `left` up to but not including `right`, in the pixels of their boxes.
QList<Symbol> wordsBetween(const QList<Symbol> &symbols, double left, double right);

// Without the words that icons, pictures and remains of frames were taken for.
QList<Symbol> withoutNoise(const QList<Symbol> &symbols);

QString textOf(const QList<Line> &lines); // one line each

} // namespace qm::ocr
