#pragma once

#include "LoopbackServer.h"

#include <memory>

// The loopback message server for in-process tests.
namespace Loopback {

// A server listening on a free port of 127.0.0.1.
std::unique_ptr<LoopbackServer> start(LoopbackServer::Mode mode = LoopbackServer::Mode::Normal);

// A port of 127.0.0.1 where nobody listens: connections to it are refused.
quint16 refusedPort();

} // namespace Loopback
