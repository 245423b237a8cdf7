#pragma once

#include <QByteArray>
#include <QString>
#include <QStringView>
#include <array>

// The 8-bit code page of every file and of the wire: Windows-1252.
// Report files, the station file, the session log and the envelope sent to the message
// server are all single-byte text; the program works on QString and converts at the edges.
namespace CodePage {

// Bytes of `text`; a character the code page cannot hold becomes "?".
QByteArray encode(QStringView text);

// Text of `bytes`. Every byte maps to a character, so decoding never fails.
QString decode(QByteArrayView bytes);

// Appends the text of `bytes` as UTF-8, straight from the bytes.
void appendUtf8(QByteArray &out, QByteArrayView bytes);

// True when every character of `text` has a byte of its own in the code page.
bool canEncode(QStringView text);

// The distinct characters of `text` that the code page cannot hold, in order of appearance.
QString unencodable(QStringView text);

// Case folding of the code page, byte by byte. Every character of the code page folds to one
// UTF-16 unit, so comparing the folded units of two byte strings orders them exactly as
// comparing QString::toCaseFolded() of their text does.
struct Folding {
    std::array<char16_t, 256> unit {}; // the folded character of each byte
    std::array<char, 256> byte {};     // its byte again, where the code page holds it (µ stays µ)
    std::array<quint8, 256> rank {};   // 1..255 in the order of the folded characters, for sort keys
};
const Folding &folding();

// Negative, zero or positive as the bytes' text orders with case ignored (toCaseFolded).
int compareFolded(QByteArrayView a, QByteArrayView b);

} // namespace CodePage
