# SPDX-License-Identifier: MIT
"""Gives a generated workbook what other scopes look at: links, headers, shapes, properties."""
import os
import zipfile

MAIN = 'http://schemas.openxmlformats.org/spreadsheetml/2006/main'
OFFICE = 'http://schemas.openxmlformats.org/officeDocument/2006/relationships'
PACKAGE = 'http://schemas.openxmlformats.org/package/2006'
DRAWING = 'http://schemas.openxmlformats.org/drawingml/2006'
PROPERTIES = 'http://schemas.openxmlformats.org/officeDocument/2006'
LINKS, SHAPES = 20, 10


def relationship(identifier, kind, target, external=False):
    mode = ' TargetMode="External"' if external else ''
    return f'<Relationship Id="{identifier}" Type="{kind}" Target="{target}"{mode}/>'


def shape(number):
    return ('<xdr:twoCellAnchor><xdr:from><xdr:col>1</xdr:col><xdr:colOff>0</xdr:colOff>'
            f'<xdr:row>{number}</xdr:row><xdr:rowOff>0</xdr:rowOff></xdr:from><xdr:to><xdr:col>3'
            f'</xdr:col><xdr:colOff>0</xdr:colOff><xdr:row>{number + 2}</xdr:row><xdr:rowOff>0'
            f'</xdr:rowOff></xdr:to><xdr:sp><xdr:nvSpPr><xdr:cNvPr id="{number + 2}" '
            f'name="Box {number}"/><xdr:cNvSpPr/></xdr:nvSpPr><xdr:spPr/><xdr:txBody><a:bodyPr/>'
            f'<a:p><a:r><a:t>A box with text, number {number}</a:t></a:r></a:p></xdr:txBody>'
            '</xdr:sp><xdr:clientData/></xdr:twoCellAnchor>')


def parts():
    links = ''.join(relationship(f'l{i}', OFFICE + '/hyperlink',
                                 f'http://server.example/share/file%20{i}.xlsx', True)
                    for i in range(LINKS))
    return {
        'xl/worksheets/_rels/sheet1.xml.rels':
            f'<Relationships xmlns="{PACKAGE}/relationships">{links}'
            + relationship('d', OFFICE + '/drawing', '../drawings/drawing1.xml')
            + '</Relationships>',
        'xl/drawings/drawing1.xml':
            f'<xdr:wsDr xmlns:xdr="{DRAWING}/spreadsheetDrawing" xmlns:a="{DRAWING}/main">'
            + ''.join(map(shape, range(SHAPES))) + '</xdr:wsDr>',
        'docProps/core.xml':
            f'<cp:coreProperties xmlns:cp="{PACKAGE}/metadata/core-properties" '
            'xmlns:dc="http://purl.org/dc/elements/1.1/"><dc:title>A quote</dc:title>'
            '<dc:creator>A person</dc:creator></cp:coreProperties>',
        'docProps/app.xml':
            f'<Properties xmlns="{PROPERTIES}/extended-properties"><Application>bench'
            '</Application><Company>Example</Company></Properties>',
        'docProps/custom.xml':
            f'<Properties xmlns="{PROPERTIES}/custom-properties" '
            f'xmlns:vt="{PROPERTIES}/docPropsVTypes"><property '
            'fmtid="{D5CDD505-2E9C-101B-9397-08002B2CF9AE}" pid="2" name="Project"><vt:lpwstr>'
            'Some project</vt:lpwstr></property></Properties>',
    }


def changed(name, text):
    if name == 'xl/worksheets/sheet1.xml':
        links = ''.join(f'<hyperlink ref="B{i + 1}" r:id="l{i}"/>' for i in range(LINKS))
        return text.replace('<worksheet ', f'<worksheet xmlns:r="{OFFICE}" ', 1).replace(
            '</sheetData>', f'</sheetData><hyperlinks>{links}</hyperlinks><headerFooter>'
            '<oddHeader>&amp;LA quote&amp;RPage &amp;P</oddHeader><oddFooter>&amp;CPage 2025'
            '</oddFooter></headerFooter><drawing r:id="d"/>', 1)
    if name == '_rels/.rels':
        return text.replace('</Relationships>', relationship(
            'c', PACKAGE + '/relationships/metadata/core-properties', 'docProps/core.xml')
            + relationship('a', OFFICE + '/extended-properties', 'docProps/app.xml')
            + relationship('u', OFFICE + '/custom-properties', 'docProps/custom.xml')
            + '</Relationships>')
    return text


def dress(path):
    target = path + '.new'
    with zipfile.ZipFile(path) as old, zipfile.ZipFile(target, 'w', zipfile.ZIP_DEFLATED) as new:
        for name in old.namelist():
            new.writestr(name, changed(name, old.read(name).decode()))
        for name, text in parts().items():
            new.writestr(name, text)
    os.replace(target, path)
