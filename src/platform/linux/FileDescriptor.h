#pragma once

#include <unistd.h>

#include <cerrno>
#include <utility>

namespace peekmend {

/// Makes a system call again as long as signals interrupt it.
template <typename Call>
auto retryInterrupted(Call call) {
    auto result = call();
    while (result == -1 && errno == EINTR) {
        result = call();
    }
    return result;
}

/// Owns one open file descriptor and closes it.
class FileDescriptor {
public:
    FileDescriptor() = default;

    explicit FileDescriptor(int descriptor) : m_descriptor(descriptor) {}

    FileDescriptor(FileDescriptor&& other) noexcept
        : m_descriptor(std::exchange(other.m_descriptor, -1)) {}

    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        FileDescriptor(std::move(other)).swap(*this);
        return *this;
    }

    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    ~FileDescriptor() { reset(); }

    [[nodiscard]] int get() const { return m_descriptor; }

    [[nodiscard]] explicit operator bool() const { return m_descriptor >= 0; }

    void reset() {
        if (m_descriptor >= 0) {
            ::close(std::exchange(m_descriptor, -1));
        }
    }

    void swap(FileDescriptor& other) noexcept { std::swap(m_descriptor, other.m_descriptor); }

private:
    int m_descriptor = -1;
};

} // namespace peekmend
