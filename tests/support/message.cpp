#include "support/message.h"

#include "support/namespaces.h"

#include <cerrno>
#include <cstring>
#include <sys/socket.h>
#include <unistd.h>

namespace support
{

const size_t most_descriptors = 8;
const size_t most_bytes = 200 * 1024; // what one message of a local socket may hold by default

// Each text with a zero byte behind it.
static std::string packed(const message &texts)
{
    std::string bytes;
    for (const std::string &text : texts)
        bytes.append(text.c_str(), text.size() + 1);
    return bytes;
}

static message unpacked(const std::string &bytes)
{
    message texts;
    for (size_t start = 0; start < bytes.size();) {
        size_t end = bytes.find('\0', start);
        texts.push_back(bytes.substr(start, end - start));
        start = end + 1;
    }
    return texts;
}

void send_message(int socket, const message &texts, const std::vector<int> &descriptors)
{
    std::string bytes = packed(texts);
    alignas(cmsghdr) char control[CMSG_SPACE(most_descriptors * sizeof(int))] = {};
    iovec part = {&bytes[0], bytes.size()};
    msghdr header = {};
    header.msg_iov = &part;
    header.msg_iovlen = 1;
    if (!descriptors.empty()) {
        size_t size = descriptors.size() * sizeof(int);
        header.msg_control = control;
        header.msg_controllen = CMSG_SPACE(size);
        cmsghdr *item = CMSG_FIRSTHDR(&header);
        item->cmsg_level = SOL_SOCKET;
        item->cmsg_type = SCM_RIGHTS;
        item->cmsg_len = CMSG_LEN(size);
        memcpy(CMSG_DATA(item), descriptors.data(), size);
    }
    if (sendmsg(socket, &header, MSG_NOSIGNAL) < 0)
        fail("message to or from the world");
}

static void take_descriptors(msghdr &header, std::vector<int> *descriptors)
{
    for (cmsghdr *item = CMSG_FIRSTHDR(&header); item != nullptr;
         item = CMSG_NXTHDR(&header, item)) {
        for (size_t at = 0; at + sizeof(int) <= item->cmsg_len - CMSG_LEN(0); at += sizeof(int)) {
            int descriptor;
            memcpy(&descriptor, CMSG_DATA(item) + at, sizeof descriptor);
            if (descriptors != nullptr)
                descriptors->push_back(descriptor);
            else
                close(descriptor);
        }
    }
}

bool receive_message(int socket, message &texts, std::vector<int> *descriptors)
{
    std::string bytes(most_bytes, '\0');
    alignas(cmsghdr) char control[CMSG_SPACE(most_descriptors * sizeof(int))];
    iovec part = {&bytes[0], bytes.size()};
    msghdr header = {};
    header.msg_iov = &part;
    header.msg_iovlen = 1;
    header.msg_control = control;
    header.msg_controllen = sizeof control;
    ssize_t length;
    while ((length = recvmsg(socket, &header, MSG_CMSG_CLOEXEC)) < 0 && errno == EINTR)
        ;
    if (length < 0 && errno != ECONNRESET)
        fail("message to or from the world");
    bytes.resize(length > 0 ? size_t(length) : 0);
    texts = unpacked(bytes);
    take_descriptors(header, descriptors);
    return length > 0;
}

} // namespace support
