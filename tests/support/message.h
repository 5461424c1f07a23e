// Messages between a router box and its holder, the first process in its world.
#pragma once

#include <string>
#include <vector>

namespace support
{

using message = std::vector<std::string>;

// Sends texts and descriptors over a socket of kind SOCK_SEQPACKET. Throws when that fails.
void send_message(int socket, const message &texts, const std::vector<int> &descriptors = {});

// Receives one; descriptors (which may be null) gets those that came with it. Returns false when
// the other side has closed the socket.
bool receive_message(int socket, message &texts, std::vector<int> *descriptors = nullptr);

} // namespace support
