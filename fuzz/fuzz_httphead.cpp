// Any bytes as the start of a request to the master-list web server.
#include "server/HttpRequestHead.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray buffer(reinterpret_cast<const char*>(data), qsizetype(size));
    HttpRequestHead head;
    const auto result = HttpRequestHead::parse(buffer, 8192, &head);
    if (result == HttpRequestHead::Result::Complete &&
        (head.length <= 0 || head.length > buffer.size() || head.method.isEmpty() || head.target.isEmpty()))
        __builtin_trap();
    return 0;
}
