#pragma once

#include <QByteArray>
#include <QRgb>

// The scanning primitives of the game data reader. Positions never pass the end of the data;
// past it every read gives an empty result.
namespace Parse {

// Bytes 7 to 13 and the blank.
bool isWhitespace(char c);
// Past white space and "//" comments (each through its line feed), over any number of both.
void ignoreWhitespace(const QByteArray &data, qsizetype &pos);
// The bytes from pos up to the first stop, or to the end; pos rests on the stop or the end.
void returnUntil(const QByteArray &data, qsizetype &pos, char stop, QByteArray &out);
// The same, also stopping at white space and at the start of a "//" comment.
void returnUntilWhitespace(const QByteArray &data, qsizetype &pos, QByteArray &out);
void returnUntilWhitespaceOr(const QByteArray &data, qsizetype &pos, char stop, QByteArray &out);
// The trimmed text's first quoted string, or its first word.
QByteArray getString(const QByteArray &text);
// Quoted pieces joined by "+", read as one string without a separator.
void returnString(const QByteArray &data, qsizetype &pos, QByteArray &out);
// An opaque colour of the first three numbers of "r g b", each clamped to 0 to 255.
QRgb getQRgb(const QByteArray &text, QRgb fallback);

} // namespace Parse
