"""What docs/matching.md says a search meets in a cell, from the values that other programs read."""
import datetime
import decimal
import re


def kind_of(code):
    """date, time, percent or plain, by the first section of a number format."""
    section = re.sub(r'"[^"]*"|\\.|_.|\*.', '', code)  # literals
    section = section.split(';')[0]
    elapsed = re.search(r'\[(h+|m+|s+)\]', section, re.I)
    letters = re.sub(r'\[[^\]]*\]', '', section).lower()
    letters = re.sub('general', '', letters)
    if re.search(r'[dyg]|^[^hs]*m[^hs]*$', re.sub(r'a/p|am/pm', '', letters)) or \
            re.search(r'(?<![0#?.])e(?![+-])', letters):
        return 'date'
    if elapsed or re.search('[hs]', letters):
        # A month beside a time of day is one that is not at minutes' place.
        rest = re.sub(r'am/pm|a/p', '', letters)
        return 'date' if re.search('mmm', rest) else 'time'
    return 'percent' if '%' in letters else 'plain'


def number_text(value):
    value = decimal.Decimal(format(value, '.14e')).normalize()
    if not value:
        return '0'
    plain = format(value, 'f')
    if len(plain.lstrip('-')) <= 21:
        return plain
    mantissa, _, exponent = format(value, 'e').upper().partition('E')
    return f'{mantissa}E{int(exponent):+03d}'


def date_text(value, kind, date1904):
    days, seconds = divmod(int(value * 86400 + 0.5), 86400)
    hour = f'{(seconds // 3600 + 11) % 12 + 1}:{seconds // 60 % 60:02}:{seconds % 60:02}'
    hour += ' PM' if seconds >= 43200 else ' AM'
    if kind == 'time' and not days:
        return hour
    if date1904:
        days += 1462
    if days < 0 or value < 0 or days > 2958465:
        return number_text(value)
    if days in (0, 60):
        day = '1/0/1900' if days == 0 else '2/29/1900'
    else:
        date = datetime.date(1899, 12, 30 + (days < 60)) + datetime.timedelta(days)
        day = f'{date.month}/{date.day}/{date.year}'
    return f'{day} {hour}' if seconds or kind == 'time' else day


def edit_text(value, code, date1904=False):
    """`value` is a number, a boolean or a text, `code` the cell's number format."""
    if isinstance(value, bool):
        return str(value).upper()
    if isinstance(value, str):
        return value
    kind = kind_of(code)
    if kind == 'percent':
        return number_text(decimal.Decimal(format(value, '.14e')) * 100) + '%'
    return number_text(value) if kind == 'plain' else date_text(value, kind, date1904)
