// The memory file: a small text a person can write to give the simulated meter a LOGGING
// and a SAVE memory of their own. The format is described in docs/metersim.md:
//
//   # a comment
//   model 4
//   interval 10
//   [logging]
//   +1.234 VDC
//   -12.5 m VAC
//   +OL k OHM
//   [save]
//   3 +0.5 m ADC

#include "LiveReadings.h"
#include "MeterSimulator.h"

#include <QFile>
#include <QRegularExpression>

namespace quvo::sim {

namespace {

constexpr int MaxLoggingRecords = 99999; // the widest record number has five digits
constexpr int MaxIntervalSeconds = 9999; // the "RI" answer has four digits

const QString OverloadField = QStringLiteral("0.L   ");

bool isPrefix(const QString& token)
{
    static const QStringList prefixes = {QStringLiteral("n"), QStringLiteral("u"), QStringLiteral("m"),
                                         QStringLiteral("k"), QStringLiteral("M")};
    return prefixes.contains(token);
}

// One reading written as "SIGN NUMBER [PREFIX] UNIT" (sign and number in one token), or
// "SIGN OL [PREFIX] UNIT" for an overload. *error on failure.
std::optional<MeterValue> parseReading(const QStringList& tokens, QString* error)
{
    if (tokens.size() < 2 || tokens.size() > 3) {
        *error = QStringLiteral("a reading is a signed number, an optional prefix (n u m k M) and a unit, "
                                "for example \"+1.234 m VDC\"");
        return std::nullopt;
    }
    MeterValue v;
    const QString& value = tokens.front();
    if (value.size() < 2 || (value.front() != QLatin1Char('+') && value.front() != QLatin1Char('-'))) {
        *error = QStringLiteral("\"%1\" does not begin with a sign (+ or -)").arg(value);
        return std::nullopt;
    }
    v.sign = value.front();
    const QString number = value.mid(1);
    if (number == QLatin1String("OL")) {
        v.overload = true;
        v.number = OverloadField;
    } else {
        static const QRegularExpression shape(QStringLiteral("^_*[0-9]*(\\.[0-9]*)?$"));
        const bool hasDigit = number.contains(QRegularExpression(QStringLiteral("[0-9]")));
        if (!shape.match(number).hasMatch() || !hasDigit || number.size() > 6) {
            *error = QStringLiteral("\"%1\" is not a number of at most 6 characters (digits, at most one \".\", "
                                    "leading \"_\" for blanks)")
                         .arg(number);
            return std::nullopt;
        }
        const bool blanks = number.startsWith(QLatin1Char('_'));
        QString field = number;
        field.replace(QLatin1Char('_'), QLatin1Char(' '));
        v.number = field.rightJustified(6, blanks ? QLatin1Char(' ') : QLatin1Char('0'));
    }

    const QString unit = tokens.back();
    if (tokens.size() == 3) {
        if (!isPrefix(tokens.at(1))) {
            *error = QStringLiteral("\"%1\" is not a prefix (n u m k M)").arg(tokens.at(1));
            return std::nullopt;
        }
        v.prefix = tokens.at(1).front();
    } else {
        v.prefix = QLatin1Char(' ');
    }
    const QString word = unitWordOf(unit);
    if (word.isEmpty()) {
        QStringList units = liveFunctionNames();
        units.removeAll(QStringLiteral("cycle"));
        *error = QStringLiteral("\"%1\" is not a unit (one of %2)").arg(unit, units.join(QLatin1Char(' ')));
        return std::nullopt;
    }
    v.unit = word;
    return v;
}

} // namespace

std::optional<SimulatorOptions> loadMemoryFile(const QString& path, SimulatorOptions base, QString* error)
{
    QString reason;
    const auto fail = [&](int lineNumber, const QString& message) -> std::optional<SimulatorOptions> {
        if (error) {
            *error = lineNumber > 0 ? QStringLiteral("%1, line %2: %3").arg(path).arg(lineNumber).arg(message)
                                    : QStringLiteral("%1: %2").arg(path, message);
        }
        return std::nullopt;
    };

    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return fail(0, file.errorString());
    const QStringList lines = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'));
    if (file.error() != QFileDevice::NoError)
        return fail(0, file.errorString());

    enum class Section { Top, Logging, Save } section = Section::Top;
    bool sawLogging = false;
    bool sawSave = false;
    QList<MeterValue> logging;
    QMap<int, MeterValue> save;
    SimulatorOptions result = std::move(base);

    static const QRegularExpression blanks(QStringLiteral("\\s+"));
    for (int i = 0; i < lines.size(); ++i) {
        const int lineNumber = i + 1;
        QString line = lines.at(i);
        const qsizetype hash = line.indexOf(QLatin1Char('#'));
        if (hash >= 0)
            line.truncate(hash);
        line = line.trimmed();
        if (line.isEmpty())
            continue;

        if (line.startsWith(QLatin1Char('['))) {
            const QString name = line.toLower();
            if (name == QLatin1String("[logging]")) {
                if (sawLogging)
                    return fail(lineNumber, QStringLiteral("a second [logging] section"));
                section = Section::Logging;
                sawLogging = true;
            } else if (name == QLatin1String("[save]")) {
                if (sawSave)
                    return fail(lineNumber, QStringLiteral("a second [save] section"));
                section = Section::Save;
                sawSave = true;
            } else {
                return fail(lineNumber, QStringLiteral("unknown section %1 (known: [logging], [save])").arg(line));
            }
            continue;
        }

        QStringList tokens = line.split(blanks, Qt::SkipEmptyParts);
        switch (section) {
        case Section::Top: {
            const QString key = tokens.front().toLower();
            if (tokens.size() != 2)
                return fail(lineNumber, QStringLiteral("expected \"model C\" or \"interval SECONDS\""));
            if (key == QLatin1String("model")) {
                if (tokens.at(1).size() != 1)
                    return fail(lineNumber, QStringLiteral("the model is one character, for example 1"));
                result.model = tokens.at(1).front();
            } else if (key == QLatin1String("interval")) {
                bool ok = false;
                const int seconds = tokens.at(1).toInt(&ok);
                if (!ok || seconds < 0 || seconds > MaxIntervalSeconds)
                    return fail(lineNumber, QStringLiteral("the interval is a whole number of seconds from 0 to %1")
                                                .arg(MaxIntervalSeconds));
                result.loggingIntervalSeconds = seconds;
            } else {
                return fail(lineNumber, QStringLiteral("unknown setting \"%1\" (known: model, interval)").arg(tokens.front()));
            }
            break;
        }
        case Section::Logging: {
            if (logging.size() >= MaxLoggingRecords)
                return fail(lineNumber, QStringLiteral("more than %1 LOGGING records").arg(MaxLoggingRecords));
            const std::optional<MeterValue> value = parseReading(tokens, &reason);
            if (!value)
                return fail(lineNumber, reason);
            logging << *value;
            break;
        }
        case Section::Save: {
            bool ok = false;
            const int slot = tokens.front().toInt(&ok);
            if (!ok || slot < 0 || slot > 99)
                return fail(lineNumber, QStringLiteral("a SAVE line begins with its slot number, 0 to 99"));
            if (save.contains(slot))
                return fail(lineNumber, QStringLiteral("slot %1 is given twice").arg(slot));
            tokens.removeFirst();
            const std::optional<MeterValue> value = parseReading(tokens, &reason);
            if (!value)
                return fail(lineNumber, reason);
            save.insert(slot, *value);
            break;
        }
        }
    }

    if (sawLogging) {
        result.logging = logging;
        result.loggingCount = static_cast<int>(logging.size()); // an empty section is an empty memory
    }
    if (sawSave) {
        result.save = save;
        result.saveGenerate = false; // slots not listed are empty
    }
    return result;
}

} // namespace quvo::sim
