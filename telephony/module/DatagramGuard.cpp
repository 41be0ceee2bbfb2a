#include "telephony/module/DatagramGuard.h"

#include <dirent.h>
#include <linux/filter.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cstdlib>
#include <cstring>

namespace {

// The filter sees the UDP header (8 bytes) before the payload.
constexpr unsigned kUdpHeader = 8;

bool boundTo(int fd, int port)
{
    int type = 0;
    socklen_t typeSize = sizeof type;
    if (::getsockopt(fd, SOL_SOCKET, SO_TYPE, &type, &typeSize) != 0 || type != SOCK_DGRAM)
        return false;
    sockaddr_storage address{};
    socklen_t size = sizeof address;
    if (::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size) != 0)
        return false;
    if (address.ss_family == AF_INET)
        return ntohs(reinterpret_cast<const sockaddr_in&>(address).sin_port) == port;
    if (address.ss_family == AF_INET6)
        return ntohs(reinterpret_cast<const sockaddr_in6&>(address).sin6_port) == port;
    return false;
}

}  // namespace

int DatagramGuard::guardPort(int port)
{
    static sock_filter program[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_LEN, 0),
        BPF_JUMP(BPF_JMP | BPF_JGT | BPF_K, kMaxDatagram + kUdpHeader, 5, 0),  // too long: drop
        BPF_STMT(BPF_LD | BPF_B | BPF_ABS, kUdpHeader),                        // the first byte
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, '\r', 2, 0),                       // a keep-alive: take
        BPF_JUMP(BPF_JMP | BPF_JGE | BPF_K, 'A', 0, 2),                        // below 'A': drop
        BPF_JUMP(BPF_JMP | BPF_JGT | BPF_K, 'Z', 1, 0),                        // above 'Z': drop
        BPF_STMT(BPF_RET | BPF_K, 0xFFFFFFFFu),
        BPF_STMT(BPF_RET | BPF_K, 0),
    };
    static const sock_fprog filter{static_cast<unsigned short>(sizeof program / sizeof program[0]), program};

    int guarded = 0;
    DIR* folder = ::opendir("/proc/self/fd");
    if (folder == nullptr)
        return 0;
    while (const dirent* entry = ::readdir(folder)) {
        char* end = nullptr;
        const long fd = std::strtol(entry->d_name, &end, 10);
        if (end == entry->d_name || *end != '\0' || fd == ::dirfd(folder))
            continue;
        if (boundTo(static_cast<int>(fd), port) &&
            ::setsockopt(static_cast<int>(fd), SOL_SOCKET, SO_ATTACH_FILTER, &filter, sizeof filter) == 0)
            ++guarded;
    }
    ::closedir(folder);
    return guarded;
}
