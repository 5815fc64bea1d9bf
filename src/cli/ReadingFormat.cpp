#include "cli/ReadingFormat.h"

#include "publish/ReadingMessage.h"

#include <QCommandLineParser>

namespace quvo::cli {

ReadingFormat::ReadingFormat()
    : m_option(QStringLiteral("format"), QStringLiteral("How readings are printed: tsv, csv or jsonl."),
               QStringLiteral("FORMAT"), QStringLiteral("tsv"))
{
}

void ReadingFormat::addTo(QCommandLineParser& parser) const
{
    parser.addOption(m_option);
}

bool ReadingFormat::read(const QCommandLineParser& parser, QString& error)
{
    if (parser.values(m_option).size() > 1) {
        error = QStringLiteral("Give --format only once.");
        return false;
    }
    const QString name = parser.value(m_option).trimmed().toLower();
    if (name == QLatin1String("tsv")) {
        m_format = LineFormat::Tsv;
    } else if (name == QLatin1String("csv")) {
        m_format = LineFormat::Csv;
    } else if (name == QLatin1String("jsonl")) {
        m_format = LineFormat::Jsonl;
    } else {
        error = QStringLiteral("--format: \"%1\" is not tsv, csv or jsonl.").arg(parser.value(m_option));
        return false;
    }
    return true;
}

QString ReadingFormat::heading(bool judged) const
{
    if (m_format != LineFormat::Csv)
        return {};
    return judged ? QStringLiteral("time,value,text,unit,judgement") : QStringLiteral("time,value,text,unit");
}

QString ReadingFormat::line(const TakenReading& reading, const QStringList& tsvFields, bool judged,
                            Judgement judgement) const
{
    switch (m_format) {
    case LineFormat::Tsv: {
        QStringList fields = tsvFields;
        if (judged)
            fields.append(judgementText(judgement));
        return fields.join(QLatin1Char('\t'));
    }
    case LineFormat::Csv: {
        QStringList fields = {isoTimeWithOffset(reading.time), reading.number, reading.text, reading.unit};
        if (judged)
            fields.append(judgement == Judgement::None ? QString() : judgementText(judgement));
        for (QString& field : fields)
            field = csvField(field);
        return fields.join(QLatin1Char(','));
    }
    case LineFormat::Jsonl:
        break;
    }
    const std::optional<QString> judgementField =
        judgement == Judgement::None ? std::nullopt : std::optional<QString>(judgementText(judgement));
    return QString::fromUtf8(readingPayload(reading, judgementField));
}

QString ReadingFormat::helpLines()
{
    return QStringLiteral(
        "Output (--format, default tsv):\n"
        "  tsv           the lines above, fields separated by tabs; with limits the judgement\n"
        "                as the last field: HI, PASS, LO, or - for none (an error, another unit)\n"
        "  csv           a heading, then time,value,text,unit[,judgement] per reading: time in\n"
        "                ISO 8601, value a number (empty for ERROR, +OL, -OL)\n"
        "  jsonl         one JSON object per reading: {\"time\":...,\"value\":0.001234 or null,\n"
        "                \"text\":\"1.234E-3\",\"unit\":\"VDC\",\"judgement\":\"PASS\",...}; judgement only\n"
        "                when the reading has one\n");
}

QString csvField(const QString& text)
{
    if (!text.contains(QLatin1Char(',')) && !text.contains(QLatin1Char('"')) && !text.contains(QLatin1Char('\n'))
        && !text.contains(QLatin1Char('\r')))
        return text;
    QString quoted = text;
    quoted.replace(QLatin1Char('"'), QStringLiteral("\"\""));
    return QLatin1Char('"') + quoted + QLatin1Char('"');
}

} // namespace quvo::cli
