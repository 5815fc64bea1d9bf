/* Writes the libxlsxwriter-made seed workbooks of the workbook_graft corpus into the
 * folder given as the only argument. Run by tests/fuzz/make_seeds.sh. */
#include <stdio.h>
#include <string.h>
#include <xlsxwriter.h>

static char path[4096];

static const char* in(const char* folder, const char* name)
{
    snprintf(path, sizeof path, "%s/%s", folder, name);
    return path;
}

/* One sheet, one text: the smallest workbook there is. */
static int minimal(const char* folder)
{
    lxw_workbook* workbook = workbook_new(in(folder, "gen-lxw-minimal.xlsx"));
    lxw_worksheet* sheet = workbook_add_worksheet(workbook, NULL);
    worksheet_write_string(sheet, 0, 0, "Hello", NULL);
    return workbook_close(workbook);
}

/* Two sheets, strings, a custom number format, bold text, a chart and defined names, as
 * another program would leave a workbook. */
static int withChart(const char* folder)
{
    lxw_workbook* workbook = workbook_new(in(folder, "gen-lxw-chart.xlsx"));
    lxw_worksheet* data = workbook_add_worksheet(workbook, "Data");
    lxw_worksheet* second = workbook_add_worksheet(workbook, "Sheet2");
    lxw_format* fixed = workbook_add_format(workbook);
    format_set_num_format(fixed, "0.000");
    lxw_format* bold = workbook_add_format(workbook);
    format_set_bold(bold);
    worksheet_write_string(data, 0, 0, "Value", bold);
    for (int i = 1; i <= 5; ++i)
        worksheet_write_number(data, (lxw_row_t)i, 0, i * 1.5, fixed);
    worksheet_write_string(second, 0, 0, "remarks", NULL);
    lxw_chart* chart = workbook_add_chart(workbook, LXW_CHART_COLUMN);
    chart_add_series(chart, NULL, "=Data!$A$2:$A$6");
    worksheet_insert_chart(data, 1, 3, chart);
    workbook_define_name(workbook, "Values", "=Data!$A$2:$A$6");
    workbook_define_name(workbook, "Data!Local", "=Data!$A$1");
    return workbook_close(workbook);
}

/* Many formats: fonts, fills, borders and number formats that the graft must merge with. */
static int manyFormats(const char* folder)
{
    lxw_workbook* workbook = workbook_new(in(folder, "gen-lxw-formats.xlsx"));
    lxw_worksheet* sheet = workbook_add_worksheet(workbook, "Formats");
    const char* numbers[] = {"0.00%", "@", "#,##0.00", "0.000", "yyyy-mm-dd", "0.0E+00"};
    for (int i = 0; i < 6; ++i) {
        lxw_format* f = workbook_add_format(workbook);
        format_set_num_format(f, numbers[i]);
        format_set_border(f, (uint8_t)(i % 3 + 1));
        format_set_bg_color(f, 0x112233 * (i + 1));
        format_set_font_name(f, i % 2 ? "Arial" : "Courier New");
        worksheet_write_number(sheet, (lxw_row_t)i, 0, 1.25 * i, f);
    }
    worksheet_merge_range(sheet, 8, 0, 8, 3, "merged", NULL);
    return workbook_close(workbook);
}

/* A sheet named like the ones forwarding adds ("Sheet2" taken), and one that needs quotes. */
static int sheetNames(const char* folder)
{
    lxw_workbook* workbook = workbook_new(in(folder, "gen-lxw-names.xlsx"));
    workbook_add_worksheet(workbook, "Sheet2");
    lxw_worksheet* quoted = workbook_add_worksheet(workbook, "Bench 'A' & B");
    worksheet_write_string(quoted, 2, 2, "x", NULL);
    workbook_add_worksheet(workbook, "SHEET3");
    return workbook_close(workbook);
}

int main(int argc, char** argv)
{
    if (argc != 2) {
        fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
        return 2;
    }
    int failed = 0;
    failed |= minimal(argv[1]) != LXW_NO_ERROR;
    failed |= withChart(argv[1]) != LXW_NO_ERROR;
    failed |= manyFormats(argv[1]) != LXW_NO_ERROR;
    failed |= sheetNames(argv[1]) != LXW_NO_ERROR;
    return failed;
}
