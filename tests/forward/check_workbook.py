#!/usr/bin/python3
"""Reads an .xlsx workbook independently of the program that wrote it and prints what it
holds as JSON, for the workbook tests to compare with the rules.

    check_workbook.py describe FILE      cells, formats, borders, fills, charts of every sheet
    check_workbook.py entries FILE       every zip entry with the SHA-256 of its content
    check_workbook.py views FILE         the tab the workbook opens on and which sheets are
                                         selected (read without loading the cells)
    check_workbook.py make-openpyxl FILE writes a workbook with openpyxl (two sheets, a
                                         chart, defined names) to extend in the tests
    check_workbook.py make-KIND FILE     writes a damaged or unsuitable workbook (strict,
                                         doctype, badprefix, undeclared, slip, huge,
                                         encrypted, notworkbook, docx)
    check_workbook.py make-sheets FILE NAME...  a workbook with sheets of those names
    check_workbook.py make-formulas FILE  a workbook with formulas on several sheets and a
                                         chart, for a spreadsheet program to save again

Cells and formats come from openpyxl; the drawing and chart parts are read as XML with
the standard library, since the details that matter (anchor, gaps, hidden data) are
below what openpyxl exposes.
"""

import hashlib
import json
import posixpath
import re
import sys
import zipfile
import xml.etree.ElementTree as ET

NS = {
    "m": "http://schemas.openxmlformats.org/spreadsheetml/2006/main",
    "r": "http://schemas.openxmlformats.org/officeDocument/2006/relationships",
    "pr": "http://schemas.openxmlformats.org/package/2006/relationships",
    "xdr": "http://schemas.openxmlformats.org/drawingml/2006/spreadsheetDrawing",
    "a": "http://schemas.openxmlformats.org/drawingml/2006/main",
    "c": "http://schemas.openxmlformats.org/drawingml/2006/chart",
}
EMU_PER_PIXEL = 9525
EMU_PER_POINT = 12700
MAX_DIGIT_WIDTH = 7  # pixels of a digit in the default font (11 pt)


def rels_of(zf, part):
    folder, name = posixpath.split(part)
    rels_part = posixpath.join(folder, "_rels", name + ".rels")
    if rels_part not in zf.namelist():
        return {}
    root = ET.fromstring(zf.read(rels_part))
    found = {}
    for rel in root.findall("pr:Relationship", NS):
        target = rel.get("Target")
        if target.startswith("/"):
            resolved = target[1:]
        else:
            resolved = posixpath.normpath(posixpath.join(folder, target))
        found[rel.get("Id")] = (rel.get("Type").rsplit("/", 1)[-1], resolved)
    return found


def column_index(letters):
    n = 0
    for ch in letters:
        n = n * 26 + ord(ch.upper()) - 64
    return n


def column_pixels(sheet_root):
    """Pixel width of each column that the sheet sets (1-based), hidden ones as 0."""
    widths = {}
    for col in sheet_root.findall("m:cols/m:col", NS):
        width = float(col.get("width", "8.43"))
        # The spreadsheet programs' rule: characters of the widest digit plus padding.
        pixels = int(((256 * width + int(128 / MAX_DIGIT_WIDTH)) / 256) * MAX_DIGIT_WIDTH)
        if col.get("hidden") in ("1", "true"):
            pixels = 0
        for c in range(int(col.get("min")), int(col.get("max")) + 1):
            widths[c] = pixels
    return widths


def default_column_pixels(sheet_root):
    fmt = sheet_root.find("m:sheetFormatPr", NS)
    if fmt is not None and fmt.get("defaultColWidth"):
        width = float(fmt.get("defaultColWidth"))
        return int(((256 * width + int(128 / MAX_DIGIT_WIDTH)) / 256) * MAX_DIGIT_WIDTH)
    # Without one: 8 characters plus padding, rounded up to a multiple of 8 pixels.
    return 64


def row_pixels(sheet_root):
    heights = {}
    for row in sheet_root.findall("m:sheetData/m:row", NS):
        if row.get("ht"):
            heights[int(row.get("r"))] = float(row.get("ht")) / 0.75
    return heights


def text_of(element):
    return "".join(t.text or "" for t in element.iter("{%s}t" % NS["a"]))


def range_values(wb, formula):
    """Values of a reference such as 'Sheet 1'!$Z$5:$Z$27 (None for blank cells)."""
    match = re.match(r"^(?:'((?:[^']|'')+)'|([^!]+))!\$?([A-Z]+)\$?(\d+)(?::\$?([A-Z]+)\$?(\d+))?$", formula)
    if not match:
        return None
    name = match.group(1).replace("''", "'") if match.group(1) else match.group(2)
    ws = wb[name]
    c1, r1 = column_index(match.group(3)), int(match.group(4))
    c2 = column_index(match.group(5)) if match.group(5) else c1
    r2 = int(match.group(6)) if match.group(6) else r1
    values = []
    for r in range(r1, r2 + 1):
        for c in range(c1, c2 + 1):
            values.append(ws.cell(row=r, column=c).value)
    return values


def value_of(node):
    return node.get("val") if node is not None else None


def colour_of(node):
    """The solid fill colour directly inside a DrawingML element, such as a line's."""
    if node is None:
        return None
    rgb = node.find("a:solidFill/a:srgbClr", NS)
    return rgb.get("val").upper() if rgb is not None else None


def describe_chart(zf, wb, chart_part):
    root = ET.fromstring(zf.read(chart_part))
    chart = root.find("c:chart", NS)
    plot = chart.find("c:plotArea", NS)
    kinds = [child.tag.split("}")[1] for child in plot if child.tag.endswith("Chart")]
    title = chart.find("c:title", NS)
    title_text = None
    if title is not None:
        rich = title.find("c:tx/c:rich", NS)
        if rich is not None:
            title_text = text_of(rich)
        else:
            cached = title.find("c:tx/c:strRef/c:strCache/c:pt/c:v", NS)
            title_text = cached.text if cached is not None else ""
    series = []
    for ser in plot.iter("{%s}ser" % NS["c"]):
        entry = {}
        cat = ser.find("c:cat//c:f", NS)
        val = ser.find("c:val//c:f", NS)
        if cat is not None:
            entry["cat"] = cat.text
            entry["cat_values"] = range_values(wb, cat.text)
        if val is not None:
            entry["val"] = val.text
            entry["val_values"] = range_values(wb, val.text)
        entry["has_name"] = ser.find("c:tx", NS) is not None
        series.append(entry)
    for ser, entry in zip(plot.iter("{%s}ser" % NS["c"]), series):
        entry["line_colour"] = colour_of(ser.find("c:spPr/a:ln", NS))
        entry["marker"] = value_of(ser.find("c:marker/c:symbol", NS))
        entry["marked_points"] = sorted(int(p.find("c:idx", NS).get("val")) for p in ser.findall("c:dPt", NS)
                                        if value_of(p.find("c:marker/c:symbol", NS)) not in (None, "none"))
        entry["marked_point_colours"] = sorted({colour_of(p.find("c:marker/c:spPr", NS)) for p in ser.findall("c:dPt", NS)})
        entry["smooth"] = value_of(ser.find("c:smooth", NS))
    blanks = chart.find("c:dispBlanksAs", NS)
    visible_only = chart.find("c:plotVisOnly", NS)
    auto_deleted = chart.find("c:autoTitleDeleted", NS)
    return {
        "kinds": kinds,
        "title": title_text,
        "auto_title_deleted": auto_deleted is not None and auto_deleted.get("val") in ("1", "true"),
        "legend": chart.find("c:legend", NS) is not None,
        "category_gridlines": plot.find("c:catAx/c:majorGridlines", NS) is not None,
        "value_gridlines": plot.find("c:valAx/c:majorGridlines", NS) is not None,
        "series": series,
        "blanks_as": blanks.get("val") if blanks is not None else None,
        "plot_visible_only": visible_only is None or visible_only.get("val") in ("1", "true"),
        "vary_colours": value_of(plot.find("c:lineChart/c:varyColors", NS)),
        # The colours the chart sets itself (None: left to the workbook's theme).
        "colours": {
            "category_axis": colour_of(plot.find("c:catAx/c:spPr/a:ln", NS)),
            "value_axis": colour_of(plot.find("c:valAx/c:spPr/a:ln", NS)),
            "category_gridlines": colour_of(plot.find("c:catAx/c:majorGridlines/c:spPr/a:ln", NS)),
            "value_gridlines": colour_of(plot.find("c:valAx/c:majorGridlines/c:spPr/a:ln", NS)),
            "category_labels": colour_of(plot.find("c:catAx/c:txPr//a:defRPr", NS)),
            "value_labels": colour_of(plot.find("c:valAx/c:txPr//a:defRPr", NS)),
            "title": colour_of(chart.find("c:title//a:defRPr", NS)) if title is not None else None,
            "chart_area": colour_of(root.find("c:spPr", NS)),
        },
        "axes_deleted": [value_of(plot.find(axis + "/c:delete", NS)) for axis in ("c:catAx", "c:valAx")],
    }


def describe_drawing(zf, wb, sheet_root, drawing_part):
    root = ET.fromstring(zf.read(drawing_part))
    rels = rels_of(zf, drawing_part)
    widths = column_pixels(sheet_root)
    default_width = default_column_pixels(sheet_root)
    heights = row_pixels(sheet_root)
    charts = []
    for anchor in root:
        kind = anchor.tag.split("}")[1]
        frm = anchor.find("xdr:from", NS)
        to = anchor.find("xdr:to", NS)
        chart_ref = anchor.find(".//c:chart", NS)
        if chart_ref is None:
            continue
        entry = {"anchor_kind": kind}
        if frm is not None:
            fc, fr = int(frm.find("xdr:col", NS).text), int(frm.find("xdr:row", NS).text)
            fco, fro = int(frm.find("xdr:colOff", NS).text), int(frm.find("xdr:rowOff", NS).text)
            entry["from"] = {"col": fc, "row": fr, "col_off": fco, "row_off": fro}
        if kind == "twoCellAnchor":
            tc, tr = int(to.find("xdr:col", NS).text), int(to.find("xdr:row", NS).text)
            tco, tro = int(to.find("xdr:colOff", NS).text), int(to.find("xdr:rowOff", NS).text)
            # Extent in EMU: the whole columns/rows between the corners, less the start
            # offset, plus the end offset (columns and rows 0-based in the anchor).
            width = sum(widths.get(c + 1, default_width) for c in range(fc, tc)) * EMU_PER_PIXEL - fco + tco
            height = sum(heights.get(r + 1, 20) for r in range(fr, tr)) * EMU_PER_PIXEL - fro + tro
        else:
            ext = anchor.find("xdr:ext", NS)
            width, height = int(ext.get("cx")), int(ext.get("cy"))
        entry["width_emu"] = width
        entry["height_emu"] = height
        entry["width_pt"] = width / EMU_PER_POINT
        entry["height_pt"] = height / EMU_PER_POINT
        rid = chart_ref.get("{%s}id" % NS["r"])
        entry.update(describe_chart(zf, wb, rels[rid][1]))
        charts.append(entry)
    return charts


def application_properties(zf):
    """Heading pairs and titles of docProps/app.xml, or None when it has none."""
    if "docProps/app.xml" not in zf.namelist():
        return None
    ep = "{http://schemas.openxmlformats.org/officeDocument/2006/extended-properties}"
    vt = "{http://schemas.openxmlformats.org/officeDocument/2006/docPropsVTypes}"
    root = ET.fromstring(zf.read("docProps/app.xml"))
    pairs = root.find(ep + "HeadingPairs/" + vt + "vector")
    titles = root.find(ep + "TitlesOfParts/" + vt + "vector")
    if pairs is None or titles is None:
        return None
    variants = list(pairs)
    headings = []
    for i in range(0, len(variants) - 1, 2):
        headings.append([variants[i].find(vt + "lpstr").text, int(variants[i + 1].find(vt + "i4").text)])
    return {"headings": headings, "titles": [t.text for t in titles], "size": int(titles.get("size"))}


def border_style(side):
    return side.style if side is not None and side.style else None


def solid_fill(cell):
    """The cell's solid background as RRGGBB, or None."""
    fill = cell.fill
    if fill is None or fill.fill_type != "solid" or fill.fgColor is None or fill.fgColor.type != "rgb":
        return None
    return fill.fgColor.rgb[-6:].upper()


def describe(path):
    import openpyxl

    wb = openpyxl.load_workbook(path)
    zf = zipfile.ZipFile(path)
    wb_root = ET.fromstring(zf.read("xl/workbook.xml"))
    wb_rels = rels_of(zf, "xl/workbook.xml")
    view = wb_root.find("m:bookViews/m:workbookView", NS)
    out = {"sheets": [], "app": application_properties(zf), "defined_names": sorted(dn.get("name") for dn in wb_root.findall("m:definedNames/m:definedName", NS)),
           "active_tab": int(view.get("activeTab", "0")) if view is not None else 0}
    for sheet in wb_root.findall("m:sheets/m:sheet", NS):
        name = sheet.get("name")
        part = wb_rels[sheet.get("{%s}id" % NS["r"])][1]
        raw = zf.read(part)
        sheet_root = ET.fromstring(raw)
        ws = wb[name]
        cells = {}
        for row in ws.iter_rows():
            for cell in row:
                top, bottom = border_style(cell.border.top), border_style(cell.border.bottom)
                left, right = border_style(cell.border.left), border_style(cell.border.right)
                fill = solid_fill(cell)
                if cell.value is None and not any((top, bottom, left, right)) and cell.number_format == "General" and not fill:
                    continue
                cells[cell.coordinate] = {
                    "value": cell.value,
                    "type": cell.data_type,
                    "format": cell.number_format,
                    "borders": [top, bottom, left, right],
                    "align": cell.alignment.horizontal,
                }
                if fill:
                    cells[cell.coordinate]["fill"] = fill
        selection = ws.sheet_view.selection
        hidden = sorted(letter for letter, dim in ws.column_dimensions.items() if dim.hidden)
        views = sheet_root.findall("m:sheetViews/m:sheetView", NS)
        entry = {
            "name": name,
            "part": part,
            "cells": cells,
            "hidden_columns": hidden,
            "active_cell": selection[0].activeCell if selection else None,
            "tab_selected": any(v.get("tabSelected") in ("1", "true") for v in views),
            "formula_elements": len(sheet_root.findall(".//m:f", NS)),
            "shared_string_cells": len([c for c in sheet_root.iter("{%s}c" % NS["m"]) if c.get("t") == "s"]),
            "charts": [],
        }
        for rid, (kind, target) in rels_of(zf, part).items():
            if kind == "drawing":
                entry["charts"].extend(describe_drawing(zf, wb, sheet_root, target))
        out["sheets"].append(entry)
    return out


def views(path):
    zf = zipfile.ZipFile(path)
    wb_root = ET.fromstring(zf.read("xl/workbook.xml"))
    wb_rels = rels_of(zf, "xl/workbook.xml")
    view = wb_root.find("m:bookViews/m:workbookView", NS)
    sheets = []
    for sheet in wb_root.findall("m:sheets/m:sheet", NS):
        part = wb_rels[sheet.get("{%s}id" % NS["r"])][1]
        selected = False
        with zf.open(part) as stream:
            for _, element in ET.iterparse(stream, events=("start",)):
                tag = element.tag.split("}")[-1]
                if tag == "sheetView" and element.get("tabSelected") in ("1", "true"):
                    selected = True
                if tag == "sheetData":
                    break
        sheets.append({"name": sheet.get("name"), "tab_selected": selected})
    return {"active_tab": int(view.get("activeTab", "0")) if view is not None else 0, "sheets": sheets}


def entries(path):
    zf = zipfile.ZipFile(path)
    return {info.filename: hashlib.sha256(zf.read(info.filename)).hexdigest() for info in zf.infolist()}


def make_openpyxl(path):
    import openpyxl
    from openpyxl.chart import BarChart, Reference
    from openpyxl.workbook.defined_name import DefinedName

    wb = openpyxl.Workbook()
    ws = wb.active
    ws.title = "Readings"
    ws.append(["Month", "Count"])
    for i in range(1, 7):
        ws.append(["M%d" % i, i * 3])
    chart = BarChart()
    chart.title = "Counts"
    chart.add_data(Reference(ws, min_col=2, min_row=1, max_row=7), titles_from_data=True)
    chart.set_categories(Reference(ws, min_col=1, min_row=2, max_row=7))
    ws.add_chart(chart, "D2")
    notes = wb.create_sheet("Sheet2")
    notes["A1"] = "notes & <remarks>"
    wb.defined_names.append(DefinedName("Counts", attr_text="Readings!$B$2:$B$7"))
    wb.save(path)
    return {"written": path}


def make_sheets(path, names):
    """A workbook whose sheets have the given names, each with its name in A1."""
    import openpyxl

    wb = openpyxl.Workbook()
    wb.active.title = names[0]
    for name in names[1:]:
        wb.create_sheet(name)
    for ws in wb.worksheets:
        ws["A1"] = ws.title
    wb.save(path)
    return {"written": path}


def rewrite(path, change):
    """Rewrites the zip at path, passing each (name, bytes) through change()."""
    with zipfile.ZipFile(path) as zf:
        items = [(info, zf.read(info.filename)) for info in zf.infolist()]
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as zf:
        for info, data in items:
            name, data = change(info.filename, data)
            zf.writestr(name, data)


def make_variant(kind, path):
    if kind == "encrypted":
        # A password-protected workbook is a compound file, not a zip.
        with open(path, "wb") as f:
            f.write(bytes.fromhex("D0CF11E0A1B11AE1") + b"\0" * 504)
        return {"written": path}
    if kind == "notworkbook":
        with zipfile.ZipFile(path, "w") as zf:
            zf.writestr("hello.txt", "just a zip")
        return {"written": path}
    if kind == "docx":
        with zipfile.ZipFile(path, "w") as zf:
            zf.writestr("[Content_Types].xml", '<?xml version="1.0"?><Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types"><Default Extension="rels" ContentType="application/vnd.openxmlformats-package.relationships+xml"/><Override PartName="/word/document.xml" ContentType="application/vnd.openxmlformats-officedocument.wordprocessingml.document.main+xml"/></Types>')
            zf.writestr("_rels/.rels", '<?xml version="1.0"?><Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships"><Relationship Id="rId1" Type="http://schemas.openxmlformats.org/officeDocument/2006/relationships/officeDocument" Target="word/document.xml"/></Relationships>')
            zf.writestr("word/document.xml", '<?xml version="1.0"?><w:document xmlns:w="http://schemas.openxmlformats.org/wordprocessingml/2006/main"/>')
        return {"written": path}
    make_openpyxl(path)
    if kind == "strict":
        def change(name, data):
            data = data.replace(b"http://schemas.openxmlformats.org/spreadsheetml/2006/main",
                                b"http://purl.oclc.org/ooxml/spreadsheetml/main")
            data = data.replace(b"http://schemas.openxmlformats.org/officeDocument/2006/relationships",
                                b"http://purl.oclc.org/ooxml/officeDocument/relationships")
            return name, data
        rewrite(path, change)
    elif kind == "doctype":
        def change(name, data):
            if name == "xl/workbook.xml":
                start = data.index(b"?>") + 2 if b"?>" in data else 0
                data = data[:start] + b'<!DOCTYPE workbook [<!ENTITY boom "boom">]>' + data[start:]
            return name, data
        rewrite(path, change)
    elif kind in ("badprefix", "undeclared"):
        # The relationships namespace of the workbook part declared once more under a prefix
        # that is no XML name, or used without being declared: a lenient XML reader takes
        # both.
        relationships = b"http://schemas.openxmlformats.org/officeDocument/2006/relationships"
        def change(name, data):
            if name == "xl/workbook.xml":
                declared = re.search(rb'xmlns:([A-Za-z_][\w.-]*)="' + re.escape(relationships) + b'"', data)
                if kind == "badprefix":
                    data = data.replace(declared.group(0), b'xmlns:2="' + relationships + b'" ' + declared.group(0))
                else:
                    data = data.replace(b" " + declared.group(0), b"")
            return name, data
        rewrite(path, change)
    elif kind == "slip":
        with zipfile.ZipFile(path, "a") as zf:
            zf.writestr("../evil.txt", "outside")
    elif kind == "huge":
        # An entry that declares far more unpacked bytes than any workbook part needs.
        with zipfile.ZipFile(path, "a", zipfile.ZIP_DEFLATED) as zf:
            zf.writestr("xl/media/big.bin", b"0" * 1000)
        raw = bytearray(open(path, "rb").read())
        name = b"xl/media/big.bin"
        declared = (0x7FFFFFF0).to_bytes(4, "little")
        # local file header: signature, then the size of the unpacked data at offset 22
        pos = 0
        while True:
            pos = raw.find(b"PK\x03\x04", pos)
            if pos < 0:
                break
            name_len = int.from_bytes(raw[pos + 26:pos + 28], "little")
            if raw[pos + 30:pos + 30 + name_len] == name:
                raw[pos + 22:pos + 26] = declared
            pos += 4
        # central directory header: the size of the unpacked data at offset 24
        pos = 0
        while True:
            pos = raw.find(b"PK\x01\x02", pos)
            if pos < 0:
                break
            name_len = int.from_bytes(raw[pos + 28:pos + 30], "little")
            if raw[pos + 46:pos + 46 + name_len] == name:
                raw[pos + 24:pos + 28] = declared
            pos += 4
        open(path, "wb").write(bytes(raw))
    else:
        raise SystemExit("unknown kind " + kind)
    return {"written": path}


def make_formulas(path):
    """Prices (numbers, a formula per row, a total), Notes (a formula on the other sheet,
    text) and a line chart of the formulas' results."""
    import openpyxl
    from openpyxl.chart import LineChart, Reference

    wb = openpyxl.Workbook()
    ws = wb.active
    ws.title = "Prices"
    ws.append(["Item", "Net", "Gross"])
    for i in range(1, 9):
        ws.append(["Item %d" % i, i * 2.5, "=B%d*1.2" % (i + 1)])
    ws["E1"] = "Total"
    ws["F1"] = "=SUM(C2:C9)"
    chart = LineChart()
    chart.title = "Gross"
    chart.add_data(Reference(ws, min_col=3, min_row=1, max_row=9), titles_from_data=True)
    ws.add_chart(chart, "E3")
    notes = wb.create_sheet("Notes")
    notes["A1"] = "Total with delivery"
    notes["B1"] = "=Prices!F1+7.5"
    notes["A2"] = "Items"
    notes["B2"] = "=COUNTA(Prices!A2:A9)"
    wb.save(path)
    return {"written": path}


def main():
    command, path = sys.argv[1], sys.argv[2]
    if command == "make-sheets":
        result = make_sheets(path, sys.argv[3:])
    elif command == "make-formulas":
        result = make_formulas(path)
    elif command.startswith("make-") and command != "make-openpyxl":
        result = make_variant(command[5:], path)
    else:
        result = {"describe": describe, "entries": entries, "views": views, "make-openpyxl": make_openpyxl}[command](path)
    json.dump(result, sys.stdout, default=str)


if __name__ == "__main__":
    main()
