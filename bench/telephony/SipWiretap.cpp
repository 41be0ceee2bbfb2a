// sip-wiretap: prints one line per SIP message seen on the loopback device,
// with the kernel's receive time, so answer times are measured on the wire
// rather than by the programs being measured:
//   <seconds.nanoseconds> TAB <Call-ID> TAB <CSeq method> TAB <first line>
// Needs CAP_NET_RAW (root in the benchmark's network namespace). Stops on
// TERM or INT.
#include <arpa/inet.h>
#include <linux/if_packet.h>
#include <net/ethernet.h>
#include <net/if.h>
#include <netinet/ip.h>
#include <netinet/udp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>

namespace {

volatile std::sig_atomic_t stopping = 0;

void stop(int)
{
    stopping = 1;
}

// The value of header name (or its compact form) in a SIP message.
std::string header(const std::string& message, const char* name, const char* compact)
{
    std::size_t start = 0;
    while (start < message.size()) {
        std::size_t end = message.find("\r\n", start);
        if (end == std::string::npos)
            end = message.size();
        const std::string line = message.substr(start, end - start);
        if (line.empty())
            break;  // end of the headers
        const std::size_t colon = line.find(':');
        if (colon != std::string::npos) {
            std::string key = line.substr(0, colon);
            while (!key.empty() && key.back() == ' ')
                key.pop_back();
            if (strcasecmp(key.c_str(), name) == 0 || strcasecmp(key.c_str(), compact) == 0) {
                const std::size_t value = line.find_first_not_of(' ', colon + 1);
                return value == std::string::npos ? std::string() : line.substr(value);
            }
        }
        start = end + 2;
    }
    return {};
}

bool isSip(const std::string& message)
{
    static const char* const kStarts[] = {"SIP/2.0 ", "INVITE ", "ACK ", "BYE ", "CANCEL ", "OPTIONS ", "REGISTER "};
    for (const char* start : kStarts)
        if (message.compare(0, std::strlen(start), start) == 0)
            return true;
    return false;
}

}  // namespace

int main()
{
    const int fd = socket(AF_PACKET, SOCK_DGRAM, htons(ETH_P_IP));
    if (fd < 0) {
        std::perror("sip-wiretap: packet socket (needs CAP_NET_RAW)");
        return 1;
    }
    sockaddr_ll device{};
    device.sll_family = AF_PACKET;
    device.sll_protocol = htons(ETH_P_IP);
    device.sll_ifindex = static_cast<int>(if_nametoindex("lo"));
    if (device.sll_ifindex == 0 || bind(fd, reinterpret_cast<sockaddr*>(&device), sizeof device) != 0) {
        std::perror("sip-wiretap: cannot listen on lo");
        return 1;
    }
    const int on = 1;
    setsockopt(fd, SOL_SOCKET, SO_TIMESTAMPNS, &on, sizeof on);
    timeval wake{0, 200000};  // so a stop request is noticed
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &wake, sizeof wake);
    struct sigaction action {};
    action.sa_handler = stop;
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGINT, &action, nullptr);
    std::setvbuf(stdout, nullptr, _IOLBF, 0);

    unsigned char packet[65536];
    char control[256];
    while (!stopping) {
        sockaddr_ll from{};
        iovec data{packet, sizeof packet};
        msghdr message{};
        message.msg_name = &from;
        message.msg_namelen = sizeof from;
        message.msg_iov = &data;
        message.msg_iovlen = 1;
        message.msg_control = control;
        message.msg_controllen = sizeof control;
        const ssize_t size = recvmsg(fd, &message, 0);
        if (size <= 0)
            continue;
        // On loopback each packet passes twice: going out and coming in.
        if (from.sll_pkttype == PACKET_OUTGOING)
            continue;
        timespec when{};
        for (cmsghdr* part = CMSG_FIRSTHDR(&message); part != nullptr; part = CMSG_NXTHDR(&message, part))
            if (part->cmsg_level == SOL_SOCKET && part->cmsg_type == SCM_TIMESTAMPNS)
                std::memcpy(&when, CMSG_DATA(part), sizeof when);
        if (when.tv_sec == 0)
            clock_gettime(CLOCK_REALTIME, &when);

        if (static_cast<std::size_t>(size) < sizeof(iphdr))
            continue;
        iphdr ip{};
        std::memcpy(&ip, packet, sizeof ip);
        const std::size_t ipLength = static_cast<std::size_t>(ip.ihl) * 4;
        if (ip.protocol != IPPROTO_UDP || static_cast<std::size_t>(size) < ipLength + sizeof(udphdr))
            continue;
        const std::string payload(reinterpret_cast<const char*>(packet) + ipLength + sizeof(udphdr),
                                  static_cast<std::size_t>(size) - ipLength - sizeof(udphdr));
        if (!isSip(payload))
            continue;
        const std::string firstLine = payload.substr(0, payload.find("\r\n"));
        const std::string cseq = header(payload, "CSeq", "CSeq");
        const std::string method = cseq.substr(cseq.find(' ') == std::string::npos ? 0 : cseq.find(' ') + 1);
        std::printf("%ld.%09ld\t%s\t%s\t%s\n", static_cast<long>(when.tv_sec), when.tv_nsec,
                    header(payload, "Call-ID", "i").c_str(), method.c_str(), firstLine.c_str());
    }
    close(fd);
    return 0;
}
