#pragma once
// Decoding of the meter's reading lines. Pure text functions: no port, no program-wide
// values. Numbers stay text all the way; nothing here depends on the user's locale.
//
// A reading line in its stripped form (after VerifyChecksum, 16 characters), positions
// counted from 1 as the meter documents them:
//
//   1-2  answer tag ("RR" for the live reading)     6     sign ("+", anything else is "-")
//   3    separator                                  7-12  number field, e.g. "01.234"
//   4    status ("O" = overload)                    13    SI prefix n u m k M or blank
//   5    separator                                  14-16 unit, e.g. "VDC", "Hz "
//
// A line that is too short never makes a function fail: a cut beyond the end of the line
// simply gives fewer characters, or none.

#include <QString>

namespace quvo {

// The live reading's answer tag.
inline const QString ReadingTag = QStringLiteral("RR");

// Checks the line's last character against the sum of the character codes of all others
// (a signed 16-bit sum; its low four bits as "0".."9", "A".."F"). On success the check
// character is removed from `line` and the result is true; otherwise `line` is left as it
// is. A sum that would overflow 16 bits (a line of a few hundred characters) is a failure.
// Characters are counted by their 8-bit codes; a character beyond that range counts as "?".
bool VerifyChecksum(QString& line);

// Sign and number with leading zeros (and blanks) suppressed, at least one digit kept in
// front of the point: "+001.23" gives "1.23", "-  0.12" gives "-0.12", "+000000" gives "0".
QString GetValueText(const QString& line);

// The exponent of the SI prefix: n "E-9", u "E-6", m "E-3", k "E+3", M "E+6"; anything
// else (a blank, "K") gives an empty text. Letter case matters.
QString GetPrefixExponent(const QString& line);

// The line's last three characters with trailing blanks removed: "VDC", "Hz", "V".
QString GetUnitText(const QString& line);

// The sign character followed by "OL": "+OL" or "-OL".
QString GetOverloadText(const QString& line);

// The fields of one reading line.
struct MeterReading {
    QString ValueText;     // sign and number, e.g. "-1.234" or "0.012"
    QString Exponent;      // "E-9" … "E+6" or empty
    QString UnitText;      // e.g. "VDC"
    bool Overload = false; // the status character is "O"
    QString OverloadText;  // "+OL" or "-OL"
};

// Cuts a stripped reading line into its fields.
MeterReading DecodeReading(const QString& line);

// The value in scientific form for documents and workbooks: ValueText then Exponent
// ("-1.234E-3").
QString ScientificValueText(const MeterReading& reading);

// The value as the live display shows it: the value text (or the overload text) followed by
// the prefix and unit with blanks trimmed ("1.234mVDC", "+OLOHM").
QString DisplayValueText(const QString& line);

// True when the fields of a stripped reading line can become a document row and a data
// file line: a value that reads as a number of single-precision range (an overload's value
// need not: the meter sends "0.L" there), and value, unit and overload texts without a
// comma, a line break or a character beyond 8 bits. A realtime answer that passes its
// checksum but not this test is garbled all the same (a few changed characters pass the
// 4-bit check one time in sixteen): ParseRealtimeAnswer makes it an error row, like a line
// whose check character is wrong, so that one such line does not end a recording.
bool IsUsableReading(const QString& line);

// What a live answer turned out to be. The checks are made in this order.
enum class LiveAnswerKind {
    NoAnswer,        // the caller handed over "ERROR": no answer came
    ChecksumFailed,  // the check character does not match
    CommandRejected, // the meter answered "CMD,ERR"
    NotAReading,     // the tag is not "RR"
    Reading,         // a reading line; `line` is its stripped form
};

struct LiveAnswer {
    LiveAnswerKind kind = LiveAnswerKind::NoAnswer;
    QString line; // the answer, without its check character once that has been verified
};

// Applies the acceptance rules of a live reading to one answer line (or "ERROR").
LiveAnswer CheckLiveAnswer(const QString& answer);

// The text the Monitor shows for an answer line (or "ERROR"), without the blank the window
// adds after it: "ERROR" for anything that is not an accepted reading, otherwise the
// display value.
QString MonitorText(const QString& answer);

// One realtime answer as a document row.
struct RealtimeAnswer {
    QString display; // shown in the table: a scientific value, an overload text or "ERROR"
    QString unit;    // unit text, empty for errors
    QString numeric; // the value for statistics; "ERROR" or empty for errors
    bool valid = false;
};

// Turns one realtime answer line (or "ERROR") into a row's texts. A reading that is not
// usable (IsUsableReading) gives the row of a garbled line.
RealtimeAnswer ParseRealtimeAnswer(const QString& answer);

} // namespace quvo
