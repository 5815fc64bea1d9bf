#pragma once
// The Graph setup dialog's rules without its widgets: what the boxes show when it opens,
// the check and correction of every custom entry, the one message naming the first wrong
// field, and what is handed to the document.
//
// The dialog (frmSetting) copies its boxes and option buttons into `fields`, calls
// ApplyGraphSetup, and copies the (possibly corrected) texts back into the boxes.

#include <QString>

#include <cstdint>

namespace quvo {

class DataDocument;
class Prompter;

// The dialog's boxes and option buttons.
struct GraphSetupFields {
    QString end;     // tbEnd: categories shown (the data range)
    QString tick;    // tbTick: categories between tick marks
    QString label;   // tbLabel: categories between tick-mark labels
    QString minimum; // tbMin
    QString maximum; // tbMax
    QString major;   // tbMajor
    QString minor;   // tbMinor
    bool xUser = false; // obXuser selected (else obXauto)
    bool yUser = false; // obYuser selected (else obYauto)
    friend bool operator==(const GraphSetupFields&, const GraphSetupFields&) = default;
};

// The fields in the order the message names them (their error numbers).
namespace GraphFields {
constexpr int None = 0;
constexpr int DataRange = 1;
constexpr int TickMarks = 2;
constexpr int TickLabels = 3;
constexpr int Maximum = 4;
constexpr int Minimum = 5;
constexpr int Major = 6;
constexpr int Minor = 7;
} // namespace GraphFields

// What a successful Apply hands to the document, in this order: the data range, the X
// axis, the Y axis, then the chart is redrawn.
struct GraphTransfer {
    bool setCount = false;     // SetGraphcount is called
    std::int16_t count = 0;
    bool xAutomatic = true;    // SetAxisX(xAutomatic, perLabel, perTick)
    std::int16_t perLabel = 1;
    std::int16_t perTick = 1;
    bool yAutomatic = true;    // SetAxisY(yAutomatic, minimum, maximum, major, minor)
    QString minimum;
    QString maximum;
    std::int16_t major = 1;
    std::int16_t minor = 1;
    friend bool operator==(const GraphTransfer&, const GraphTransfer&) = default;
};

class GraphSetup {
public:
    // Limits of the fields.
    static constexpr int DataRangeMin = 2;
    static constexpr int DataRangeMax = 32767;
    static constexpr int SpacingMax = 32767;
    static constexpr float MaximumLow = -60000;
    static constexpr float MaximumHigh = 60000;
    static constexpr float MinimumLow = -60001;
    static constexpr int DivisionMin = 1;
    static constexpr int DivisionMax = 50;

    GraphSetupFields fields;

    // The boxes as the dialog opens on a document: the data range, the X divisions, the Y
    // scale, and the option buttons from the stored automatic flags.
    void load(const DataDocument& document);

    // The smallest spacing of tick marks and labels for a data range: range / 100 rounded
    // to the nearest integer (halves to the even neighbour), at least 1.
    static int minimumSpacing(std::int32_t dataRange);

    // Checks every custom field (X fields only with Custom X, Y fields only with Custom Y),
    // writes the replacement of every wrong entry into its field and the canonical form of
    // every accepted integer, and returns the number of the first wrong field (0: none).
    // `spacing` receives the minimum spacing used for the X checks.
    int check(int* spacing = nullptr);

    // The message for the first wrong field.
    static QString message(int field, int spacing);

    // What a successful Apply hands to the document holding `datacount` readings. Only
    // meaningful after check() found nothing wrong.
    GraphTransfer transfer(std::int16_t datacount) const;

    // Hands the values to the document and redraws its chart.
    static void apply(const GraphTransfer& transfer, DataDocument& document);

    // Check, then transfer (true) or show the message (false).
    bool ApplyGraphSetup(DataDocument& document, Prompter& prompter);
};

} // namespace quvo
