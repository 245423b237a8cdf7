#pragma once

#include <QByteArray>
#include <QString>

// How the about box's registry reader turns a 32-bit registry number into text: the bytes from
// the last to the first, each byte's hexadecimal digits without padding (a byte 0x0A adds only
// "A"), read as one hexadecimal number and given in decimal. The missing padding is the reader's
// own and is kept: bytes 0A 01 00 00 give "001A", that is 26.
QString registryDwordText(const QByteArray &bytes);
