#pragma once

// Raw TCP connections to a server on 127.0.0.1, for the stress runs that hold
// connections open beside the client's own: idle ones and slow ones that never finish a request.

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>
#include <string>

namespace zolt_bench {

// The start of a request whose header line a slow client goes on sending a byte at a time.
inline const char kUnfinishedRequest[] = "POST / HTTP/1.1\r\nHost: 127.0.0.1\r\nX-Slow: ";

// A socket connected to 127.0.0.1:port that has sent `text` (nothing when empty), or -1.
inline int connect_loopback(int port, const std::string& text = "") {
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    if (fd < 0) return -1;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    if (connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        (!text.empty() && send(fd, text.data(), text.size(), MSG_NOSIGNAL) < 0)) {
        close(fd);
        return -1;
    }
    return fd;
}

}  // namespace zolt_bench
