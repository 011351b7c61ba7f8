#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Makes binary workbooks, the same for the same arguments, and prints for each one as JSON how many
cells of each needle it holds. Needs python3-xlwt, which writes what applications write: shared
strings, numbers as RK, MULRK and NUMBER records, formulas, dates, rows in blocks.

Usage: generate_xls.py FOLDER NAME ROWS SEED...    (makes FOLDER/NAME-SEED.xls, 20 columns)
"""
import datetime
import json
import os
import random
import sys

import xlwt

# Nothing else can hold a needle: words have no q, numbers stay below 60,000, dates before 2030.
SYLLABLES = 'ba ce di fo gu ha je ki lo mu na pe ri so tu va'.split()
PLANTED_DATE = datetime.date(2031, 7, 4)


class Workbook:
    def __init__(self, rows, seed):
        self.random = random.Random(seed)
        self.planted = {'xquartz': 0, 'vqcommon': 0, '98765': 0, '7/4/2031': 0, 'zq*end': 0}
        self.pool = [self.word() for _ in range(1000 + rows // 20)]
        self.book = xlwt.Workbook()
        self.sheet = self.book.add_sheet('Data')
        self.plain = xlwt.easyxf()
        self.date = xlwt.easyxf(num_format_str='M/D/YY')
        self.percent = xlwt.easyxf(num_format_str='0.00%')
        for row in range(rows):
            self.add(row)
            if row % 1000 == 999:
                self.sheet.flush_row_data()

    def word(self):
        return ''.join(self.random.choices(SYLLABLES, k=self.random.randint(2, 4)))

    def own(self, needle, text):
        self.planted[needle] += 1
        return f'{text} {self.random.randrange(60000)}'

    def text(self):
        if self.random.random() < 1 / 1000:
            return self.own('xquartz', self.word() + ' Xquartz')
        if self.random.random() < 1 / 2000:
            return self.own('zq*end', 'zq middle end')
        return f'{self.word()} {self.random.randrange(60000)}'

    # Two cells of a hundred hold the common word, which are two of five rows.
    def frequent(self):
        if self.random.random() < 2 / 5:
            return self.own('vqcommon', 'Vqcommon')
        return self.random.choice(self.pool)

    def number(self):
        if self.random.random() < 1 / 5000:
            self.planted['98765'] += 1
            return 1298765.5
        return self.random.randrange(60000) + self.random.randint(1, 99) / 100

    def day(self):
        if self.random.random() < 1 / 5000:
            self.planted['7/4/2031'] += 1
            return PLANTED_DATE
        return datetime.date(2000, 1, 1) + datetime.timedelta(self.random.randrange(10000))

    def add(self, row):
        line = self.sheet.row(row)
        whole, pick = self.random.randrange, self.random.choice
        formula = row % 4 == 0
        cells = [
            (whole(60000), self.plain), (self.text(), self.plain), (self.frequent(), self.plain),
            (self.number(), self.plain), (self.day(), self.date), (self.number(), self.plain),
            (xlwt.Formula(f'D{row + 1}*F{row + 1}+SUM(A{row + 1},2)') if formula else whole(60000),
             self.plain),
            (self.pool[whole(100)], self.plain), (whole(1, 99) / 100, self.percent),
            (pick(self.pool), self.plain), (whole(500), self.plain), (whole(500), self.plain),
            (whole(500), self.plain), (whole(500), self.plain), (whole(1, 9000) / 7, self.plain),
            (pick(self.pool), self.plain), (row % 3 == 0, self.plain),
            (self.text() if row % 3 == 0 else None, self.plain), (self.pool[whole(100)], self.plain),
            (pick(self.pool), self.plain)]
        for column, (value, style) in enumerate(cells):
            line.write(column, value, style)


def main():
    folder, name, rows = sys.argv[1], sys.argv[2], int(sys.argv[3])
    for seed in sys.argv[4:]:
        workbook = Workbook(rows, int(seed))
        workbook.book.save(os.path.join(folder, f'{name}-{seed}.xls'))
        print(json.dumps(workbook.planted), flush=True)


if __name__ == '__main__':
    main()
