#!/usr/bin/python3
"""Writes the generated seeds of the fuzz corpora (tests/fuzz/corpus/<target>/gen-*).

Run by tests/fuzz/make_seeds.sh, which first builds and runs the libxlsxwriter seed
program. Needs the system Python with openpyxl (/usr/bin/python3). Every seed is small; the
seeds found by fuzzing (crashers, minimized) live beside them under other names and are
never touched here.
"""

import io
import os
import struct
import sys
import zipfile
import zlib

HERE = os.path.dirname(os.path.abspath(__file__))
CORPUS = os.path.join(os.path.dirname(HERE), "corpus")


def write(target, name, data):
    folder = os.path.join(CORPUS, target)
    os.makedirs(folder, exist_ok=True)
    if isinstance(data, str):
        data = data.encode("latin-1")
    with open(os.path.join(folder, "gen-" + name), "wb") as f:
        f.write(data)


# --- Meter answers -----------------------------------------------------------------------

def check_character(line):
    """The check character of a line (the low four bits of the sum of its 8-bit codes)."""
    n = sum(line.encode("latin-1")) & 0x0F
    return chr(ord("0") + n) if n < 10 else chr(ord("A") + n - 10)


def with_check(line):
    return line + check_character(line)


def meter_answer():
    readings = [
        "RR,N,+01.234mVDC", "RR,N,-0.012 VAC", "RR,N,+001.23 OHM", "RR,N,+000.00kOHM",
        "RR,N,+12345 Hz ", "RR,N,+000000 V  ", "RR,N,-  0.12uADC", "RR,N,+1.0000nF  ",
        "RR,N,+0.5000MOHM", "RR,O,+0.L   kOHM", "RR,O,-0.L    VDC", "RR,N,+00.000 C  ",
        "RR,N,+50.00  %  ", "RR,N,+1.234   AC", "RR,N,+1.234   DC", "RR,N,+0123.4 lx ",
        "RL,N,+01.234mVDC", "RS,N,+02.500 ADC", "RR,N,+1.2.3 VDC", "RR,N,+ABCDEF VDC",
        "RR,N,+01.234m,,,", "RR,N, 01.234KVDC",
    ]
    for i, line in enumerate(readings):
        write("meter_answer", "reading-%02d" % i, with_check(line))
    specials = {
        "empty": "", "zero": "0", "error": "ERROR", "cmderr": with_check("CMD,ERR"),
        "cmderr-bare": "CMD,ERR", "rs-empty": with_check("RS"), "rs-bare": "RS",
        "bad-check": "RR,N,+01.234mVDCX", "short": with_check("RR,N,+1"), "tag-only": with_check("RR"),
        "long": with_check("RR,N,+01.234mVDC" * 20), "overflow": "\xff" * 200 + "0",
        "high": with_check("RR,N,+01.234\xb5VDC"),
    }
    for name, line in specials.items():
        write("meter_answer", name, line)


# --- The receive stream --------------------------------------------------------------------

def stream(state, command, *ops):
    """Byte 0 the CommState, then the command, then operations (see receive_stream.cpp)."""
    out = bytes([state, len(command)]) + command.encode("latin-1")
    for op in ops:
        out += op
    return out


def piece(text, repeat=None):
    data = text.encode("latin-1")
    if repeat is None:
        return bytes([0, len(data)]) + data
    return bytes([0x80, len(data)]) + data + bytes([repeat])


def send(command):
    return bytes([4, len(command)]) + command.encode("latin-1")


def state(value):
    return bytes([5, value])


ARM = bytes([6])
TICK = bytes([7])


def receive_stream():
    reading = with_check("RR,N,+01.234mVDC") + "\r\n"
    seeds = {
        "echo-answer": stream(1, "SC,123", piece("SC,123\r\nOK7\r\n")),
        "echo-pieces": stream(1, "RL,001", piece("RL,0"), piece("01\r"), piece("\nRL,N,+01.234mVDC"), piece("7\r\n")),
        "answer-is-command": stream(4, "PL,1", piece("PL,1\r\n"), piece("PL,1\r\n")),
        "lone-lf": stream(6, "RM", piece("AB\n")),
        "no-line-end": stream(1, "RN", piece("x" * 200, repeat=70)),
        "flood-then-send": stream(4, "PL,0", piece("y" * 100, repeat=100), piece("PL,0\r\nOK\r\n"), send("PL,0"),
                                  piece("PL,0\r\nOK\r\n")),
        "replace": stream(7, "", piece("abc"), piece("de"), state(0), piece("fg"), state(2), piece("hi")),
        "streaming": stream(3, "RR,1", piece("RR,1\r\n"), piece(reading), TICK, piece(reading + reading), TICK),
        "disarmed": stream(5, "RR,1", ARM, piece(reading), piece("RR,1\r\n"), ARM, TICK),
        "trailing-partial": stream(3, "RR,1", piece(reading + "RR,N"), TICK, piece("\n"), TICK),
        "big-streaming": stream(3, "RR,1", piece("z" * 255, repeat=1), piece(reading), TICK),
        "after-answer": stream(6, "PL,1", piece("PL,1\r\nOK\r\nmore\r\n"), piece("and more")),
        "modes": stream(1, "RN", piece("RN\r\n"), state(4), piece("003\r\n"), state(3), TICK, state(7), piece("x")),
    }
    for name, data in seeds.items():
        write("receive_stream", name, data)


# --- Data files -------------------------------------------------------------------------------

def crlf(lines):
    return "".join(line + "\r\n" for line in lines)


def data_file():
    empty20 = [",,,"] * 17
    seeds = {
        "realtime": ["21,0", "9000,6000,0", "00,00,00,05", "True,00,01,00,00", "20", "True,1,1", "True,0.5,2.5,1,1",
                     "12:00:00,1.5,VDC,1.5", "12:00:05,2.25,VDC,2.25", "12:00:10,0.75,VDC,0.75"] + empty20,
        "realtime-period": ["21,3", "7200,4000,2", "00,00,01,00", "False,01,02,03,04", "5", "False,2,1",
                            "False,-1.5E-3,2.5E-3,4,2", "23:59:00,1.234E-3,VDC,1.234E-3", "00:00:00,ERROR,,ERROR",
                            "00:01:00,+OL,OHM,0.L   E+3", "00:02:00,-0.012,VAC,-0.012"],
        "logging-model2": ["01,2", "9000,6000,0", ",,,10", "True,00,01,00,00", "20", "True,1,1", "True,0,10,1,1",
                           "00:00:00,1.234E-3,ADC,1.234E-3", "00:00:10,5.0E-6,ADC,5.0E-6", ",,,",
                           "00:00:30,12.5,OHM,12.5"],
        "save-mode": ["41,5", "9000,6000,0", ",,,", "False,00,01,00,00", "20", "True,1,1", "True,0,10,1,1",
                      ",1.5,VDC,1.5", ",,,", ",2.5E+6,OHM,2.5E+6", ",-OL,F,0.L   E-9"],
        "no-stats": ["2", "9000,6000,0", "00,00,00,01", "True,00,01,00,00", "20", "True,1,1", "True,0,10,1,1",
                     "12:00:00,1.5,VDC", "12:00:01,2.5,VDC"],
        "wrapped-fields": ["01,0", "9000,6000,0", ",,,", "x", "20", "True,1,1", "True,0,10,1,1", "12:00:01,1.234"],
        "units": ["21,1", "9000,6000,0", "00,00,00,01", "True,00,01,00,00", "20", "True,1,1", "True,0,10,1,1"]
                 + ["12:00:%02d,%s,%s,%s" % (i, v, u, r) for i, (v, u, r) in enumerate([
                     ("1", "VAC", "1E-3"), ("2", "V", "2"), ("3.5", "OHM", "3.5"), ("4", "F", "4E-9"),
                     ("5", "ADC", "5E-6"), ("6", "AAC", "6"), ("7", "A", "7E-3"), ("8", "Vd", "8"), ("9", "C", "9"),
                     ("10", "Hz", "10"), ("11", "lx", "11"), ("12", "%", "12"), ("13", " AC", "13"),
                     ("14", " DC", "14"), ("15", "zz", "15")])],
    }
    for name, lines in seeds.items():
        write("data_file", name, crlf(lines))
    write("data_file", "lf-only", "\n".join(seeds["realtime"][:10]))
    write("data_file", "empty", "")
    write("data_file", "kind3", crlf(["31,0"] + seeds["realtime"][1:8]))
    write("data_file", "short-header", crlf(seeds["realtime"][:4]))
    write("data_file", "latin1", crlf(seeds["realtime"][:7] + ["12:00:00,1.5,\xb5A,1.5E-6", "12:00:05,ERROR,\xb0C,ERROR"]))
    write("data_file", "bad-number", crlf(seeds["realtime"][:7] + ["12:00:00,1.5.5,VDC,1.5.5"]))


# --- The settings file --------------------------------------------------------------------------

def settings_file():
    seeds = {
        "plain": b"1\r\n\r\n\r\n",
        "forward": b"3\r\n/home/user/Bench.xlsx\r\nBench supply\r\n",
        "device": b"/dev/ttyUSB0\r\n\r\nTitle\r\n",
        "out-of-range": b"17\r\nC:\\Data\\Book.xlsx\r\n\r\n",
        "zero": b"0\nbook.xlsx\ntitle\n",
        "cr-only": b"2\rbook\rtitle\r",
        "short": b"5\r\nonly two\r\n",
        "no-last-end": b"16\r\nbook.xlsx\r\ntitle",
        "utf8": "4\r\n/home/j\u00fcrgen/\u6e2c\u5b9a.xlsx\r\nMesswerte \u00b5A\r\n".encode("utf-8"),
        "bom": b"\xef\xbb\xbf7\r\nbook\r\ntitle\r\n",
        "invalid-utf8": b"\xff\xfe1\r\n\xc3\r\n\x80\r\n",
        "extra-lines": b"1\r\na\r\nb\r\nc\r\nd\r\n",
        "number-forms": b" 1.5E1 \r\n-3\r\n+016\r\n",
        "empty": b"",
    }
    for name, data in seeds.items():
        write("settings_file", name, data)


# --- Workbooks ------------------------------------------------------------------------------------

CT = ('<?xml version="1.0" encoding="UTF-8" standalone="yes"?>\n'
      '<Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types">'
      '<Default Extension="rels" ContentType="application/vnd.openxmlformats-package.relationships+xml"/>'
      '<Default Extension="xml" ContentType="application/xml"/>'
      '<Override PartName="/xl/workbook.xml" ContentType="application/vnd.openxmlformats-officedocument.spreadsheetml.sheet.main+xml"/>'
      '<Override PartName="/xl/worksheets/sheet1.xml" ContentType="application/vnd.openxmlformats-officedocument.spreadsheetml.worksheet+xml"/>'
      '<Override PartName="/xl/styles.xml" ContentType="application/vnd.openxmlformats-officedocument.spreadsheetml.styles+xml"/>'
      '<Override PartName="/docProps/app.xml" ContentType="application/vnd.openxmlformats-officedocument.extended-properties+xml"/>'
      '</Types>')
ROOT_RELS = ('<?xml version="1.0" encoding="UTF-8" standalone="yes"?>\n'
             '<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">'
             '<Relationship Id="rId1" Type="http://schemas.openxmlformats.org/officeDocument/2006/relationships/officeDocument" Target="xl/workbook.xml"/>'
             '<Relationship Id="rId2" Type="http://schemas.openxmlformats.org/officeDocument/2006/relationships/extended-properties" Target="docProps/app.xml"/>'
             '</Relationships>')
WORKBOOK = ('<?xml version="1.0" encoding="UTF-8" standalone="yes"?>\n'
            '<workbook xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main" '
            'xmlns:r="http://schemas.openxmlformats.org/officeDocument/2006/relationships">'
            '<sheets><sheet name="Sheet1" sheetId="1" r:id="rId1"/></sheets></workbook>')
WORKBOOK_RELS = ('<?xml version="1.0" encoding="UTF-8" standalone="yes"?>\n'
                 '<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">'
                 '<Relationship Id="rId1" Type="http://schemas.openxmlformats.org/officeDocument/2006/relationships/worksheet" Target="worksheets/sheet1.xml"/>'
                 '<Relationship Id="rId2" Type="http://schemas.openxmlformats.org/officeDocument/2006/relationships/styles" Target="styles.xml"/>'
                 '</Relationships>')
SHEET = ('<?xml version="1.0" encoding="UTF-8" standalone="yes"?>\n'
         '<worksheet xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main"><sheetData>'
         '<row r="1"><c r="A1" t="inlineStr"><is><t>x</t></is></c></row></sheetData></worksheet>')
STYLES = ('<?xml version="1.0" encoding="UTF-8" standalone="yes"?>\n'
          '<styleSheet xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main">'
          '<numFmts count="1"><numFmt numFmtId="164" formatCode="0.000"/></numFmts>'
          '<fonts count="1"><font><sz val="11"/><name val="Calibri"/></font></fonts>'
          '<fills count="2"><fill><patternFill patternType="none"/></fill><fill><patternFill patternType="gray125"/></fill></fills>'
          '<borders count="1"><border><left/><right/><top/><bottom/><diagonal/></border></borders>'
          '<cellStyleXfs count="1"><xf numFmtId="0" fontId="0" fillId="0" borderId="0"/></cellStyleXfs>'
          '<cellXfs count="2"><xf numFmtId="0" fontId="0" fillId="0" borderId="0" xfId="0"/>'
          '<xf numFmtId="164" fontId="0" fillId="0" borderId="0" xfId="0" applyNumberFormat="1"/></cellXfs>'
          '<cellStyles count="1"><cellStyle name="Normal" xfId="0" builtinId="0"/></cellStyles></styleSheet>')
APP = ('<?xml version="1.0" encoding="UTF-8" standalone="yes"?>\n'
       '<Properties xmlns="http://schemas.openxmlformats.org/officeDocument/2006/extended-properties" '
       'xmlns:vt="http://schemas.openxmlformats.org/officeDocument/2006/docPropsVTypes">'
       '<HeadingPairs><vt:vector size="2" baseType="variant"><vt:variant><vt:lpstr>Worksheets</vt:lpstr></vt:variant>'
       '<vt:variant><vt:i4>1</vt:i4></vt:variant></vt:vector></HeadingPairs>'
       '<TitlesOfParts><vt:vector size="1" baseType="lpstr"><vt:lpstr>Sheet1</vt:lpstr></vt:vector></TitlesOfParts>'
       '</Properties>')


def base_parts():
    return [("[Content_Types].xml", CT), ("_rels/.rels", ROOT_RELS), ("xl/workbook.xml", WORKBOOK),
            ("xl/_rels/workbook.xml.rels", WORKBOOK_RELS), ("xl/worksheets/sheet1.xml", SHEET),
            ("xl/styles.xml", STYLES), ("docProps/app.xml", APP)]


def zipped(parts, method=zipfile.ZIP_DEFLATED):
    buffer = io.BytesIO()
    with zipfile.ZipFile(buffer, "w", method) as z:
        for name, text in parts:
            z.writestr(zipfile.ZipInfo(name, (2024, 1, 1, 0, 0, 0)),
                       text.encode("utf-8") if isinstance(text, str) else text, compress_type=method)
    return buffer.getvalue()


def entries(parts):
    """The "ENTRIES" form of a package (see workbook_graft.cpp)."""
    out = b"ENTRIES"
    for name, text in parts:
        data = text.encode("utf-8") if isinstance(text, str) else text
        out += b"\n@@@ " + name.encode("utf-8") + b"\n" + data
    return out


def replaced(parts, name, text):
    return [(n, text if n == name else t) for n, t in parts]


def unpack(data):
    with zipfile.ZipFile(io.BytesIO(data)) as z:
        return [(info.filename, z.read(info.filename)) for info in z.infolist()]


def set_flag_bits(data, bits):
    """Sets general-purpose flag bits in every local and central header (an "encrypted" zip)."""
    data = bytearray(data)
    for signature, offset in ((b"PK\x03\x04", 6), (b"PK\x01\x02", 8)):
        at = data.find(signature)
        while at >= 0:
            flags = struct.unpack_from("<H", data, at + offset)[0] | bits
            struct.pack_into("<H", data, at + offset, flags)
            at = data.find(signature, at + 4)
    return bytes(data)


def bomb():
    """One entry of 201 MiB of zeros: more than the 200 MB one part may unpack to."""
    size = 201 * 1024 * 1024
    compressor = zlib.compressobj(9, zlib.DEFLATED, -15)
    chunk = bytes(1 << 20)
    body = b"".join(compressor.compress(chunk) for _ in range(size >> 20)) + compressor.flush()
    crc = 0
    for _ in range(size >> 20):
        crc = zlib.crc32(chunk, crc)
    name = b"xl/worksheets/sheet1.xml"
    local = struct.pack("<IHHHHHIIIHH", 0x04034B50, 20, 0, 8, 0, 0x21, crc, len(body), size, len(name), 0) + name
    central = struct.pack("<IHHHHHHIIIHHHHHII", 0x02014B50, 20, 20, 0, 8, 0, 0x21, crc, len(body), size, len(name),
                          0, 0, 0, 0, 0, 0) + name
    prefix = zipped([p for p in base_parts() if p[0] != "xl/worksheets/sheet1.xml"], zipfile.ZIP_STORED)
    # Append the bomb entry to a real package by rebuilding its central directory.
    with zipfile.ZipFile(io.BytesIO(prefix)) as z:
        infos = z.infolist()
    end = prefix.rfind(b"PK\x05\x06")
    cd_offset = struct.unpack_from("<I", prefix, end + 16)[0]
    cd_size = struct.unpack_from("<I", prefix, end + 12)[0]
    files = prefix[:cd_offset]
    directory = prefix[cd_offset:cd_offset + cd_size]
    bomb_offset = len(files)
    central = central[:42] + struct.pack("<I", bomb_offset) + central[46:]
    files += local + body
    directory += central
    count = len(infos) + 1
    eocd = struct.pack("<IHHHHIIH", 0x06054B50, 0, 0, count, count, len(directory), len(files), 0)
    return files + directory + eocd


def openpyxl_seeds(folder):
    import openpyxl
    from openpyxl.chart import LineChart, Reference
    wb = openpyxl.Workbook()
    ws = wb.active
    ws.title = "Messung"
    for i in range(1, 6):
        ws.append([i, i * 0.5])
    chart = LineChart()
    chart.add_data(Reference(ws, min_col=2, min_row=1, max_row=5))
    ws.add_chart(chart, "D2")
    wb.create_sheet("Notes")["A1"] = "text"
    name = openpyxl.workbook.defined_name.DefinedName("Values", attr_text="Messung!$B$1:$B$5")
    if hasattr(wb.defined_names, "add"):
        wb.defined_names.add(name)  # openpyxl 3.1
    else:
        wb.defined_names.append(name)
    path = os.path.join(folder, "gen-openpyxl-chart.xlsx")
    wb.save(path)
    simple = openpyxl.Workbook()
    simple.active["A1"] = 1.5
    simple_path = os.path.join(folder, "gen-openpyxl-simple.xlsx")
    simple.save(simple_path)
    return [path, simple_path]


def workbook_graft():
    folder = os.path.join(CORPUS, "workbook_graft")
    os.makedirs(folder, exist_ok=True)
    parts = base_parts()
    write("workbook_graft", "hand-made.xlsx", zipped(parts))
    write("workbook_graft", "hand-made-stored.xlsx", zipped(parts, zipfile.ZIP_STORED))
    write("workbook_graft", "entries-hand-made", entries(parts))
    write("workbook_graft", "entries-no-styles",
          entries([(n, t.replace('<Relationship Id="rId2" Type="http://schemas.openxmlformats.org/officeDocument/2006/'
                                 'relationships/styles" Target="styles.xml"/>', ''))
                   for n, t in parts if n != "xl/styles.xml"]))
    write("workbook_graft", "entries-no-app",
          entries([(n, t) for n, t in replaced(parts, "_rels/.rels", ROOT_RELS.replace(
              '<Relationship Id="rId2" Type="http://schemas.openxmlformats.org/officeDocument/2006/relationships/'
              'extended-properties" Target="docProps/app.xml"/>', '')) if n != "docProps/app.xml"]))
    prefixed = WORKBOOK.replace("<workbook xmlns=", "<x:workbook xmlns:x=").replace("</workbook>", "</x:workbook>") \
        .replace("<sheets>", "<x:sheets>").replace("</sheets>", "</x:sheets>").replace("<sheet ", "<x:sheet ")
    write("workbook_graft", "entries-prefixed", entries(replaced(parts, "xl/workbook.xml", prefixed)))
    doctype = '<?xml version="1.0"?>\n<!DOCTYPE lolz [<!ENTITY lol "lol"><!ENTITY lol2 "&lol;&lol;&lol;&lol;">]>' \
              + CT.split("\n", 1)[1].replace("</Types>", "<Default Extension=\"x\" ContentType=\"&lol2;\"/></Types>")
    write("workbook_graft", "doctype.xlsx", zipped(replaced(parts, "[Content_Types].xml", doctype)))
    write("workbook_graft", "entries-doctype", entries(replaced(parts, "[Content_Types].xml", doctype)))
    external = '<?xml version="1.0"?>\n<!DOCTYPE w [<!ENTITY x SYSTEM "file:///etc/passwd">]>' + \
               WORKBOOK.split("\n", 1)[1].replace('name="Sheet1"', 'name="&x;"')
    write("workbook_graft", "entries-external-entity", entries(replaced(parts, "xl/workbook.xml", external)))
    strict = [(n, t.replace("http://schemas.openxmlformats.org/spreadsheetml/2006/main",
                            "http://purl.oclc.org/ooxml/spreadsheetml/main")
               .replace("http://schemas.openxmlformats.org/officeDocument/2006/relationships/officeDocument",
                        "http://purl.oclc.org/ooxml/officeDocument/relationships/officeDocument")) for n, t in parts]
    write("workbook_graft", "strict.xlsx", zipped(strict))
    write("workbook_graft", "entries-strict-workbook",
          entries(replaced(parts, "xl/workbook.xml", WORKBOOK.replace(
              "http://schemas.openxmlformats.org/spreadsheetml/2006/main",
              "http://purl.oclc.org/ooxml/spreadsheetml/main"))))
    write("workbook_graft", "dotdot.xlsx", zipped(parts + [("../evil.txt", "x")]))
    write("workbook_graft", "absolute.xlsx", zipped(parts + [("/etc/evil", "x")]))
    write("workbook_graft", "entries-dotdot-target",
          entries(replaced(parts, "xl/_rels/workbook.xml.rels",
                           WORKBOOK_RELS.replace('Target="worksheets/sheet1.xml"', 'Target="../../../etc/passwd"'))))
    write("workbook_graft", "duplicate-case.xlsx", zipped(parts + [("XL/Workbook.xml", WORKBOOK)]))
    write("workbook_graft", "encrypted-flag.xlsx", set_flag_bits(zipped(parts, zipfile.ZIP_STORED), 1))
    write("workbook_graft", "bomb-201MiB.xlsx", bomb())
    write("workbook_graft", "no-parts.xlsx", zipped([("readme.txt", "hello")]))
    write("workbook_graft", "text-document.xlsx", zipped(replaced(parts, "[Content_Types].xml", CT.replace(
        "spreadsheetml.sheet.main+xml", "wordprocessingml.document.main+xml"))))
    write("workbook_graft", "macro-enabled.xlsx", zipped(replaced(parts, "[Content_Types].xml", CT.replace(
        "application/vnd.openxmlformats-officedocument.spreadsheetml.sheet.main+xml",
        "application/vnd.ms-excel.sheet.macroEnabled.main+xml"))))
    write("workbook_graft", "compound.xlsx", bytes.fromhex("D0CF11E0A1B11AE1") + bytes(504))
    write("workbook_graft", "not-zip.xlsx", b"This is not a workbook.\n")
    write("workbook_graft", "empty.xlsx", b"")
    write("workbook_graft", "truncated.xlsx", zipped(parts)[:300])

    made = openpyxl_seeds(folder)
    made += [os.path.join(folder, name) for name in sorted(os.listdir(folder)) if name.startswith("gen-lxw-")]
    for path in made:
        with open(path, "rb") as f:
            data = f.read()
        write("workbook_graft", "entries-" + os.path.basename(path)[4:].replace(".xlsx", ""), entries(unpack(data)))


if __name__ == "__main__":
    targets = sys.argv[1:] or ["meter_answer", "receive_stream", "data_file", "settings_file", "workbook_graft"]
    for target in targets:
        globals()[target]()
