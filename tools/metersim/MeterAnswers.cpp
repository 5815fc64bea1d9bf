#include "MeterAnswers.h"

#include "resources/TextNumber.h"

#include <algorithm>
#include <cmath>

namespace quvo::sim {

namespace {

const QString CommandError = QStringLiteral("CMD,ERR");

bool allDigits(const QString& text)
{
    return !text.isEmpty()
        && std::all_of(text.begin(), text.end(), [](QChar c) { return c >= QLatin1Char('0') && c <= QLatin1Char('9'); });
}

int largestWithDigits(int digits)
{
    return static_cast<int>(std::pow(10, digits)) - 1;
}

} // namespace

QChar checkCharacter(const QString& line)
{
    unsigned sum = 0;
    for (QChar c : line)
        sum += c.unicode();
    const unsigned n = sum & 0x0F;
    return n < 10 ? QLatin1Char(static_cast<char>('0' + n)) : QLatin1Char(static_cast<char>('A' + n - 10));
}

QString readingLine(const QString& tag, const MeterValue& value)
{
    QString line = tag;
    line += QLatin1Char(',');
    line += value.overload ? QLatin1Char('O') : QLatin1Char('N');
    line += QLatin1Char(',');
    line += value.sign;
    line += value.number.rightJustified(6, QLatin1Char(' '));
    line += value.prefix;
    line += value.unit.leftJustified(3, QLatin1Char(' '));
    return line;
}

bool startsWithAnyOf(const QString& command, const QStringList& starts)
{
    return std::any_of(starts.begin(), starts.end(),
                       [&](const QString& s) { return !s.isEmpty() && command.startsWith(s); });
}

RecordNumbering numberingFor(QChar model)
{
    RecordNumbering n;
    switch (model.unicode()) {
    case '0':
    case '1':
        n = {3, true, 3, 1, true, 1, 50};
        break;
    case '2':
    case '3':
        n = {5, true, 5, 0, true, 0, 99};
        break;
    case '4':
    case '5':
        n = {4, true, 4, 0, true, 0, 99};
        break;
    default:
        // Unknown models report a three-digit count but have no record or slot commands.
        n = {3, false, 3, 1, false, 0, -1};
        break;
    }
    return n;
}

MeterValue generatedLoggingRecord(int index)
{
    // A slow VDC ramp: record i holds i × 0.125 V, wrapping at 100 V.
    MeterValue v;
    v.number = formatFixed(std::fmod(index * 0.125, 100.0), 3).rightJustified(6, QLatin1Char('0'));
    v.prefix = QLatin1Char(' ');
    v.unit = QStringLiteral("VDC");
    return v;
}

std::optional<MeterValue> generatedSaveSlot(QChar model, int slot)
{
    const RecordNumbering n = numberingFor(model);
    if (!n.hasSlots || slot < n.firstSlot || slot > n.lastSlot || (slot - n.firstSlot) % 3 != 0)
        return std::nullopt;
    struct Kind {
        const char* unit;
        char prefix;
    };
    static const Kind kinds[] = {{"VDC", ' '}, {"VAC", 'm'}, {"OHM", 'k'}, {"ADC", 'm'}, {"Hz ", ' '}};
    const Kind& kind = kinds[((slot - n.firstSlot) / 3) % 5];
    MeterValue v;
    v.number = twoDigits(slot) + QLatin1Char('.') + QString::number((slot * 37) % 1000).rightJustified(3, QLatin1Char('0'));
    v.prefix = QLatin1Char(kind.prefix);
    v.unit = QString::fromLatin1(kind.unit);
    return v;
}

MeterAnswers::MeterAnswers(const SimulatorOptions& options) : m_options(options), m_live(options.seed) {}

void MeterAnswers::setOptions(const SimulatorOptions& options)
{
    if (options.seed != m_options.seed)
        m_live.reseed(options.seed);
    m_options = options;
}

int MeterAnswers::loggingCount() const
{
    const int stored = m_options.logging.isEmpty() ? std::max(0, m_options.loggingCount)
                                                   : static_cast<int>(m_options.logging.size());
    // The count field has a fixed width; records past what it can show cannot be reached.
    return std::min(stored, largestWithDigits(numberingFor(m_options.model).countWidth));
}

MeterValue MeterAnswers::loggingRecord(int index) const
{
    return m_options.logging.isEmpty() ? generatedLoggingRecord(index) : m_options.logging.at(index);
}

std::optional<MeterValue> MeterAnswers::saveSlot(int slot) const
{
    if (m_options.save.isEmpty() && m_options.saveGenerate)
        return generatedSaveSlot(m_options.model, slot);
    const auto it = m_options.save.constFind(slot);
    if (it == m_options.save.constEnd())
        return std::nullopt;
    return *it;
}

QString MeterAnswers::answer(const QString& command)
{
    if (startsWithAnyOf(command, m_options.errorCommands))
        return CommandError;

    if (command == QLatin1String("SC,123"))
        return QStringLiteral("SC,OK");
    // "PL,OK" differs from both commands: an answer equal to its command would be taken
    // for the echo.
    if (command == QLatin1String("PL,1") || command == QLatin1String("PL,0"))
        return QStringLiteral("PL,OK");
    if (command == QLatin1String("RM"))
        return QStringLiteral("RM,") + m_options.model;
    if (command == QLatin1String("RN")) {
        const int width = numberingFor(m_options.model).countWidth;
        return QStringLiteral("RN,") + QString::number(loggingCount()).rightJustified(width, QLatin1Char('0'));
    }
    if (command == QLatin1String("RI")) {
        const int seconds = std::clamp(m_options.loggingIntervalSeconds, 0, 9999);
        return QStringLiteral("RI,") + QString::number(seconds).rightJustified(4, QLatin1Char('0'));
    }
    if (command.startsWith(QLatin1String("RL,")))
        return loggingAnswer(command.mid(3));
    if (command.startsWith(QLatin1String("RS,")))
        return saveAnswer(command.mid(3));
    if (command == QLatin1String("RR,1"))
        return readingLine(QStringLiteral("RR"), m_live.next(m_options.function, m_options.overloadEvery));
    return CommandError;
}

QString MeterAnswers::loggingAnswer(const QString& number) const
{
    const RecordNumbering n = numberingFor(m_options.model);
    if (!n.hasRecords || number.size() != n.recordWidth || !allDigits(number))
        return CommandError;
    const int index = number.toInt() - n.firstRecord;
    if (index < 0 || index >= loggingCount())
        return CommandError;
    return readingLine(QStringLiteral("RL"), loggingRecord(index));
}

QString MeterAnswers::saveAnswer(const QString& number) const
{
    const RecordNumbering n = numberingFor(m_options.model);
    if (!n.hasSlots || number.size() != 2 || !allDigits(number))
        return CommandError;
    const int slot = number.toInt();
    if (slot < n.firstSlot || slot > n.lastSlot)
        return CommandError;
    const std::optional<MeterValue> value = saveSlot(slot);
    return value ? readingLine(QStringLiteral("RS"), *value) : QStringLiteral("RS");
}

} // namespace quvo::sim
