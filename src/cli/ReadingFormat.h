#pragma once
// How monitor and record print their readings: --format tsv|csv|jsonl.
//
//   tsv    (the default) the lines these commands have always printed, fields separated by
//          tabs: monitor the Monitor's text ("1.234mVDC"), record time, value and unit;
//          with limits a last field: HI, PASS, LO, or "-" for a reading without a judgement.
//   csv    a heading line, then one line per reading: time,value,text,unit and, with
//          limits, judgement. time is ISO 8601 with the offset from UTC; value the reading
//          as a number, empty when it is none ("ERROR", "+OL"); judgement empty when none.
//   jsonl  one JSON object per line, as published to a message broker (ReadingMessage.h):
//          time, value (null when no number), text, unit, kind, row, label, and judgement
//          when the reading has one.
// So that jq, pandas or a dashboard take the stream without parsing text.

#include "acquisition/ReadingObserver.h"
#include "document/Limits.h"

#include <QCommandLineOption>
#include <QString>
#include <QStringList>

class QCommandLineParser;

namespace quvo::cli {

enum class LineFormat { Tsv, Csv, Jsonl };

class ReadingFormat {
public:
    ReadingFormat();

    void addTo(QCommandLineParser& parser) const;
    // False with the reason for a format that is none of the three.
    bool read(const QCommandLineParser& parser, QString& error);
    LineFormat format() const { return m_format; }

    // The line printed before the readings (csv: the heading), without its line end; empty
    // when there is none. `judged`: the lines carry a judgement.
    QString heading(bool judged) const;

    // One reading's line, without its line end. `tsvFields` are the fields of the tsv line
    // (the command's own); `judged`: limits are given, so the judgement is a field.
    QString line(const TakenReading& reading, const QStringList& tsvFields, bool judged, Judgement judgement) const;

    static QString helpLines();

private:
    QCommandLineOption m_option;
    LineFormat m_format = LineFormat::Tsv;
};

// One CSV field: quoted (with doubled quotes inside) when it holds a comma, a quote or a
// line break.
QString csvField(const QString& text);

} // namespace quvo::cli
