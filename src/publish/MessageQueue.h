#pragma once
// The messages waiting for the broker, oldest first, shared by the user-interface thread
// (which adds them) and the client library's network thread (which takes them). It holds at
// most `capacity` messages: when it is full, the oldest reading is dropped to make room and
// counted, so that a broker that stays away costs memory up to this bound and no more.
//
// A retained message (the state) is never dropped for room; a newer retained message of the
// same topic replaces one still waiting, since the broker keeps only the latest anyway.

#include <QByteArray>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>

namespace quvo {

struct QueuedMessage {
    QByteArray topic;
    QByteArray payload;
    bool retain = false;
};

class MessageQueue {
public:
    explicit MessageQueue(std::size_t capacity);

    MessageQueue(const MessageQueue&) = delete;
    MessageQueue& operator=(const MessageQueue&) = delete;

    // Adds a message at the end; returns how many messages were dropped to make room (0 or 1).
    std::size_t push(QueuedMessage message);
    // Takes the oldest message, if any.
    std::optional<QueuedMessage> pop();

    // Whether a retained message of this topic is waiting.
    bool holdsRetained(const QByteArray& topic) const;
    bool empty() const;
    std::size_t size() const;
    std::size_t capacity() const { return m_capacity; }
    // Messages dropped so far because the queue was full.
    std::uint64_t dropped() const;

private:
    mutable std::mutex m_mutex;
    std::deque<QueuedMessage> m_messages;
    const std::size_t m_capacity;
    std::uint64_t m_dropped = 0;
};

} // namespace quvo
