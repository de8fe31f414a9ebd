#pragma once

// A system socket handle; kInvalidSocket when there is none.
using SocketHandle = int;
constexpr SocketHandle kInvalidSocket = -1;
