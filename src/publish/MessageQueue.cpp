#include "publish/MessageQueue.h"

#include <algorithm>

namespace quvo {

MessageQueue::MessageQueue(std::size_t capacity) : m_capacity(std::max<std::size_t>(1, capacity)) {}

std::size_t MessageQueue::push(QueuedMessage message)
{
    const std::lock_guard lock(m_mutex);
    if (message.retain) {
        const auto superseded = std::find_if(m_messages.begin(), m_messages.end(), [&](const QueuedMessage& waiting) {
            return waiting.retain && waiting.topic == message.topic;
        });
        if (superseded != m_messages.end())
            m_messages.erase(superseded);
    }
    std::size_t dropped = 0;
    if (m_messages.size() >= m_capacity) {
        auto oldest = std::find_if(m_messages.begin(), m_messages.end(),
                                   [](const QueuedMessage& waiting) { return !waiting.retain; });
        if (oldest == m_messages.end())
            oldest = m_messages.begin();
        m_messages.erase(oldest);
        dropped = 1;
        ++m_dropped;
    }
    m_messages.push_back(std::move(message));
    return dropped;
}

std::optional<QueuedMessage> MessageQueue::pop()
{
    const std::lock_guard lock(m_mutex);
    if (m_messages.empty())
        return std::nullopt;
    QueuedMessage message = std::move(m_messages.front());
    m_messages.pop_front();
    return message;
}

bool MessageQueue::holdsRetained(const QByteArray& topic) const
{
    const std::lock_guard lock(m_mutex);
    return std::any_of(m_messages.begin(), m_messages.end(),
                       [&](const QueuedMessage& waiting) { return waiting.retain && waiting.topic == topic; });
}

bool MessageQueue::empty() const
{
    const std::lock_guard lock(m_mutex);
    return m_messages.empty();
}

std::size_t MessageQueue::size() const
{
    const std::lock_guard lock(m_mutex);
    return m_messages.size();
}

std::uint64_t MessageQueue::dropped() const
{
    const std::lock_guard lock(m_mutex);
    return m_dropped;
}

} // namespace quvo
