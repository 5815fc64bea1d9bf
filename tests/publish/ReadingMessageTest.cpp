// The payloads published: one JSON object per reading, the state, the status; the status
// bar's text; the bounded queue between the window and the network thread.

#include "publish/MessageQueue.h"
#include "publish/Publishing.h"
#include "publish/ReadingMessage.h"
#include "support/TestHelpers.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTimeZone>

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

using namespace quvo;
using namespace quvo::test;

namespace {

QDateTime at(int h, int m, int s, int offsetSeconds)
{
    return QDateTime(QDate(2024, 3, 5), QTime(h, m, s), QTimeZone(offsetSeconds));
}

TakenReading realtimeRow()
{
    TakenReading r;
    r.kind = ReadingKind::Realtime;
    r.time = at(12, 0, 5, 3600);
    r.timeText = QStringLiteral("12:00:05");
    r.row = 5;
    r.text = QStringLiteral("1.234E-3");
    r.number = QStringLiteral("1.234E-3");
    r.unit = QStringLiteral("VDC");
    return r;
}

} // namespace

TEST(ReadingMessage, TimeIsIso8601WithItsOffsetFromUtc)
{
    EXPECT_EQ(isoTimeWithOffset(at(12, 0, 5, 3600)), QStringLiteral("2024-03-05T12:00:05+01:00"));
    EXPECT_EQ(isoTimeWithOffset(at(23, 59, 59, -(5 * 3600 + 30 * 60))), QStringLiteral("2024-03-05T23:59:59-05:30"));
    EXPECT_EQ(isoTimeWithOffset(at(0, 0, 0, 0)), QStringLiteral("2024-03-05T00:00:00+00:00"));
    const QDateTime utc(QDate(2024, 3, 5), QTime(7, 8, 9), Qt::UTC);
    EXPECT_EQ(isoTimeWithOffset(utc), QStringLiteral("2024-03-05T07:08:09+00:00"));
}

TEST(ReadingMessage, ARecordedRowIsOneCompactObject)
{
    EXPECT_EQ(readingPayload(realtimeRow()),
              QByteArrayLiteral("{\"kind\":\"realtime\",\"label\":\"12:00:05\",\"row\":5,\"text\":\"1.234E-3\","
                                "\"time\":\"2024-03-05T12:00:05+01:00\",\"unit\":\"VDC\",\"value\":0.001234}"));
}

TEST(ReadingMessage, AnErrorOrAnOverloadHasNoValue)
{
    TakenReading r = realtimeRow();
    r.text = QStringLiteral("ERROR");
    r.number.clear();
    r.unit.clear();
    const QJsonObject error = QJsonDocument::fromJson(readingPayload(r)).object();
    EXPECT_TRUE(error.value(QStringLiteral("value")).isNull());
    EXPECT_EQ(error.value(QStringLiteral("text")).toString(), QStringLiteral("ERROR"));
    EXPECT_EQ(error.value(QStringLiteral("unit")).toString(), QString());
    EXPECT_EQ(error.value(QStringLiteral("row")).toInt(), 5);

    r.text = QStringLiteral("+OL");
    r.unit = QStringLiteral("OHM");
    const QJsonObject overload = QJsonDocument::fromJson(readingPayload(r)).object();
    EXPECT_TRUE(overload.value(QStringLiteral("value")).isNull());
    EXPECT_EQ(overload.value(QStringLiteral("text")).toString(), QStringLiteral("+OL"));
}

TEST(ReadingMessage, AMonitorReadingHasNoRowAndNoLabel)
{
    TakenReading r;
    r.kind = ReadingKind::Monitor;
    r.time = at(12, 0, 6, 3600);
    r.text = QStringLiteral("-12.5mVDC");
    r.number = QStringLiteral("-12.5E-3");
    r.unit = QStringLiteral("VDC");
    EXPECT_EQ(readingPayload(r),
              QByteArrayLiteral("{\"kind\":\"monitor\",\"row\":null,\"text\":\"-12.5mVDC\","
                                "\"time\":\"2024-03-05T12:00:06+01:00\",\"unit\":\"VDC\",\"value\":-0.0125}"));
}

TEST(ReadingMessage, DownloadedRecordsCarryTheirKind)
{
    TakenReading r = realtimeRow();
    r.kind = ReadingKind::Logging;
    r.timeText = QStringLiteral("00:00:10");
    EXPECT_EQ(QJsonDocument::fromJson(readingPayload(r)).object().value(QStringLiteral("kind")).toString(),
              QStringLiteral("logging"));
    EXPECT_EQ(QJsonDocument::fromJson(readingPayload(r)).object().value(QStringLiteral("label")).toString(),
              QStringLiteral("00:00:10"));
    r.kind = ReadingKind::Save;
    r.timeText.clear();
    r.text.clear();
    r.number.clear();
    r.unit.clear();
    const QJsonObject empty = QJsonDocument::fromJson(readingPayload(r)).object();
    EXPECT_EQ(empty.value(QStringLiteral("kind")).toString(), QStringLiteral("save"));
    EXPECT_FALSE(empty.contains(QStringLiteral("label")));
    EXPECT_TRUE(empty.value(QStringLiteral("value")).isNull());
}

TEST(ReadingMessage, AJudgementIsThereOnlyWhenThereIsOne)
{
    EXPECT_FALSE(QJsonDocument::fromJson(readingPayload(realtimeRow())).object().contains(QStringLiteral("judgement")));
    const QJsonObject judged =
        QJsonDocument::fromJson(readingPayload(realtimeRow(), QStringLiteral("HI"))).object();
    EXPECT_EQ(judged.value(QStringLiteral("judgement")).toString(), QStringLiteral("HI"));
}

TEST(ReadingMessage, NumbersIgnoreTheUsersLocale)
{
    const LocaleGuard german("de_DE.UTF-8");
    if (!german.active())
        GTEST_SKIP() << "the de_DE.UTF-8 locale is not installed";
    TakenReading r = realtimeRow();
    r.number = QStringLiteral("-1.5E+3");
    const QByteArray payload = readingPayload(r);
    EXPECT_TRUE(payload.contains("\"value\":-1500}")) << payload.toStdString();
    r.number = QStringLiteral("0.125");
    EXPECT_TRUE(readingPayload(r).contains("\"value\":0.125}"));
}

TEST(ReadingMessage, StateNames)
{
    EXPECT_EQ(statePayload(MeterActivity::Idle), QByteArrayLiteral("idle"));
    EXPECT_EQ(statePayload(MeterActivity::Monitoring), QByteArrayLiteral("monitoring"));
    EXPECT_EQ(statePayload(MeterActivity::Recording), QByteArrayLiteral("recording"));
    EXPECT_EQ(statePayload(MeterActivity::Downloading), QByteArrayLiteral("downloading"));
}

TEST(PublishingStatus, SaysWhatTheConnectionDoesAndWhatWasDropped)
{
    const QString url = QStringLiteral("mqtt://lab:1883");
    EXPECT_EQ(publishingStatusText(BrokerState::Off, url, QString(), 0), QString());
    EXPECT_EQ(publishingStatusText(BrokerState::Connecting, url, QString(), 0),
              QStringLiteral("Publishing: connecting to mqtt://lab:1883"));
    EXPECT_EQ(publishingStatusText(BrokerState::Connected, url, QString(), 0),
              QStringLiteral("Publishing: connected to mqtt://lab:1883"));
    EXPECT_EQ(publishingStatusText(BrokerState::Reconnecting, url, QStringLiteral("connection refused"), 1),
              QStringLiteral("Publishing: not connected to mqtt://lab:1883 (connection refused), trying again; 1 "
                             "message dropped"));
    EXPECT_EQ(publishingStatusText(BrokerState::Refused, url, QStringLiteral("the broker refused the user name or password"), 0),
              QStringLiteral("Publishing: the broker refused the user name or password (mqtt://lab:1883)"));
    EXPECT_EQ(publishingStatusText(BrokerState::Failed, url, QStringLiteral("the TLS connection failed"), 12),
              QStringLiteral("Publishing stopped: the TLS connection failed (mqtt://lab:1883); 12 messages dropped"));
}

TEST(MessageQueue, AFullQueueDropsItsOldestReadingsAndCountsThem)
{
    MessageQueue queue(3);
    for (int i = 1; i <= 5; ++i)
        EXPECT_EQ(queue.push({"t/reading", QByteArray::number(i), false}), i <= 3 ? 0u : 1u) << i;
    EXPECT_EQ(queue.size(), 3u);
    EXPECT_EQ(queue.dropped(), 2u);
    for (int i = 3; i <= 5; ++i)
        EXPECT_EQ(queue.pop()->payload, QByteArray::number(i));
    EXPECT_FALSE(queue.pop().has_value());
    EXPECT_TRUE(queue.empty());
}

TEST(MessageQueue, TheStateIsNeverDroppedAndANewerOneReplacesOneStillWaiting)
{
    MessageQueue queue(3);
    queue.push({"t/state", "recording", true});
    queue.push({"t/reading", "1", false});
    queue.push({"t/reading", "2", false});
    queue.push({"t/reading", "3", false}); // full: reading 1 goes, the state stays
    EXPECT_EQ(queue.dropped(), 1u);
    queue.push({"t/state", "idle", true}); // replaces "recording"; no room needed
    EXPECT_EQ(queue.dropped(), 1u);
    QList<QByteArray> order;
    while (auto m = queue.pop())
        order.append(m->payload);
    EXPECT_EQ(order, (QList<QByteArray>{"2", "3", "idle"}));
}

TEST(MessageQueue, OneThreadAddsAnotherTakesNothingIsLostOrReordered)
{
    constexpr int Count = 20000;
    MessageQueue queue(Count);
    std::atomic<bool> done{false};
    QList<int> taken;
    std::thread consumer([&] {
        while (!done || !queue.empty()) {
            if (auto m = queue.pop())
                taken.append(m->payload.toInt());
        }
    });
    for (int i = 0; i < Count; ++i)
        queue.push({"t/reading", QByteArray::number(i), false});
    done = true;
    consumer.join();
    ASSERT_EQ(taken.size(), Count);
    for (int i = 0; i < Count; ++i)
        ASSERT_EQ(taken[i], i);
    EXPECT_EQ(queue.dropped(), 0u);
}
