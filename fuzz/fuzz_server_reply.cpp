// Fuzz target: the handling of what the message server sends back. Any bytes, cut into any
// chunks, in any prompt state, must be taken without a crash, and the reply flag must be set
// exactly when the awaited prompt occurs in what was received.

#include "FuzzSupport.h"
#include "link/ServerSession.h"
#include "settings/ZelvatIni.h"
#include "support/CodePage.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    Fuzz::Folder();
    if (size < 2)
        return 0;
    static ZelvatIni station(QStringLiteral("/nonexistent/Zelvatcts.ini"));
    ServerSession session(&station);
    const int prompt = data[0] % 6;
    const size_t chunk = 1 + data[1] % 16;
    session.setPromptState(prompt);
    const QByteArray bytes(reinterpret_cast<const char *>(data + 2), qsizetype(size - 2));
    for (qsizetype at = 0; at < bytes.size(); at += qsizetype(chunk))
        session.CheckReply(CodePage::decode(bytes.mid(at, qsizetype(chunk))));
    const QString all = CodePage::decode(bytes);
    bool expected = false;
    if (prompt == ServerSession::PromptOk)
        expected = all.contains(QLatin1String("OK>"));
    else if (prompt == ServerSession::PromptListEnd)
        expected = all.contains(QLatin1String("!/ICS213!")) || all.contains(QLatin1String("NOMORE>"));
    else if (prompt == ServerSession::PromptQuit)
        expected = all.contains(QLatin1String("QUITING>"));
    if (session.replyFlag() != expected || session.receiveBuffer() != all)
        abort();
    return 0;
}
