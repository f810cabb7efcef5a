"""The drawings of docs/pixels.md. What is drawn is computed by the rules that it explains."""

CELL = 36


class Drawing:
    def __init__(self, columns, rows, margin=1.2):
        self.margin, self.parts = margin * CELL, []
        self.size = (columns * CELL + 2 * self.margin, rows * CELL + 2 * self.margin)

    def at(self, x, y):
        return self.margin + x * CELL, self.margin + y * CELL

    def cell(self, x, y, fill="none", text="", stroke="#bbb", color="#333"):
        px, py = self.at(x, y)
        self.parts.append(f'<rect x="{px:g}" y="{py:g}" width="{CELL}" height="{CELL}" fill="{fill}" stroke="{stroke}"/>')
        if text != "":
            self.text(x + 0.5, y + 0.5, text, color)

    def box(self, x, y, width, height, color, dashed=False):
        px, py = self.at(x, y)
        dash = ' stroke-dasharray="6 4"' if dashed else ""
        self.parts.append(f'<rect x="{px:g}" y="{py:g}" width="{width * CELL:g}" height="{height * CELL:g}" fill="none" '
                          f'stroke="{color}" stroke-width="3"{dash}/>')

    def text(self, x, y, text, color="#333", anchor="middle", size=12):
        px, py = self.at(x, y)
        self.parts.append(f'<text x="{px:g}" y="{py + size * 0.36:g}" font-size="{size}" fill="{color}" '
                          f'text-anchor="{anchor}">{text}</text>')

    def dot(self, x, y, color="#b4531f"):
        px, py = self.at(x, y)
        self.parts.append(f'<circle cx="{px:g}" cy="{py:g}" r="3" fill="{color}"/>')

    def save(self, path):
        width, height = self.size
        path.write_text(f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width:g} {height:g}" width="{width:g}" '
                        f'font-family="sans-serif">{"".join(self.parts)}</svg>\n')


def centres():
    drawing = Drawing(6, 4)
    for y in range(4):
        drawing.text(-0.4, y + 0.5, f"y = {y}", anchor="end", size=10)
        for x in range(6):
            drawing.cell(x, y)
            drawing.dot(x + 0.5, y + 0.5)
    for x in range(6):
        drawing.text(x + 0.5, -0.3, f"x = {x}", size=10)
    drawing.text(0.5, 0.8, "(0, 0)", size=9)
    drawing.text(5.5, 3.8, "(5, 3)", size=9)
    return drawing


def zoom():
    """Six pixels of a source's row become twelve: positions i * (W - 1) / (D - 1)."""
    source, made = 6, 12
    drawing = Drawing(12, 3.4)
    for x in range(source):
        drawing.cell(2 * x + 0.5, 0, "#e8f0fa", x)
    for i in range(made):
        place = i * (source - 1) / (made - 1)
        drawing.cell(i, 2, "#faeee6", i)
        ax, ay = drawing.at(2 * place + 1, 0.75)
        bx, by = drawing.at(i + 0.5, 2)
        drawing.parts.append(f'<line x1="{ax:g}" y1="{ay:g}" x2="{bx:g}" y2="{by:g}" stroke="#b4531f"/>')
        drawing.text(i + 0.5, 3.25, f"{place:.2f}", size=9)
    return drawing


def cut(image, region):
    """The part of a region that lies in an image: x, y, width, height."""
    x, y, width, height = region
    left, top = max(x, 0), max(y, 0)
    return left, top, min(x + width, image[0]) - left, min(y + height, image[1]) - top


def regions():
    """Two regions, cut at their images' edges, and what of both is processed."""
    source, wanted = (7, 5), (4, 1, 5, 3)
    target, placed = (8, 6), (1, 2, 4, 9)
    a, b = cut(source, wanted), cut(target, placed)
    width, height = min(a[2], b[2]), min(a[3], b[3])
    drawing = Drawing(21, 11)
    for shift, size, region, part, name in ((0, source, wanted, a, "source"), (11, target, placed, b, "destination")):
        drawing.text(shift, -0.5, f"{name}, {size[0]} x {size[1]}", anchor="start")
        for y in range(size[1]):
            for x in range(size[0]):
                inside = part[0] <= x < part[0] + width and part[1] <= y < part[1] + height
                drawing.cell(shift + x, y, "#ffe39a" if inside else "#f4f4f4",
                             (y - part[1]) * width + x - part[0] if inside else "")
        drawing.box(shift + region[0], region[1], region[2], region[3], "#999", True)
        drawing.box(shift + part[0], part[1], part[2], part[3], "#b4531f")
    return drawing


def border_source(mode, index, length):
    """The pixel that a border mode reads; None for the constant."""
    if 0 <= index < length:
        return index
    if mode == "REPLICATE":
        return min(max(index, 0), length - 1)
    if mode == "REFLECT":
        index %= 2 * length
        return min(index, 2 * length - 1 - index)
    return index % length if mode == "WRAP" else None


def borders():
    length, beyond = 5, 7
    drawing = Drawing(length + 2 * beyond + 4, 5)
    for i in range(-beyond, length + beyond):
        drawing.text(4 + i + beyond + 0.5, -0.3, i, size=10)
    for row, mode in enumerate(("CONSTANT", "REPLICATE", "REFLECT", "WRAP")):
        drawing.text(3.7, row + 0.5, mode, anchor="end")
        for i in range(-beyond, length + beyond):
            pixel = border_source(mode, i, length)
            drawing.cell(4 + i + beyond, row, "#e8f0fa" if 0 <= i < length else "#faeee6", "c" if pixel is None else pixel)
    drawing.box(4 + beyond, 0, length, 4, "#34618f")
    return drawing


def window():
    """A window of 5 by 3 with the anchor (1, 2), at pixel (1, 1) of an image."""
    columns, rows, anchor, pixel = 5, 3, (1, 2), (1, 1)
    drawing = Drawing(8, 6)
    for y in range(5):
        for x in range(7):
            drawing.cell(x + 1, y + 1, "#f4f4f4")
    left, top = pixel[0] - anchor[0], pixel[1] - anchor[1]
    for y in range(rows):
        for x in range(columns):
            outside = left + x < 0 or top + y < 0
            drawing.cell(left + x + 1, top + y + 1, "#faeee6" if outside else "#e8f0fa", f"{x},{y}")
    drawing.box(pixel[0] + 1, pixel[1] + 1, 1, 1, "#b4531f")
    drawing.box(left + 1, top + 1, columns, rows, "#34618f")
    return drawing


def mask():
    """A mask of 10 by 3 over a region that begins at (2, 1), and the bits of its first row."""
    rows = [0b0011110000, 0b0111111000, 0b1111111110]
    drawing = Drawing(16, 8)
    for y in range(5):
        for x in range(13):
            u, v = x - 2, y - 1
            set_ = 0 <= v < 3 and 0 <= u < 10 and rows[v] >> (9 - u) & 1
            drawing.cell(x, y, "#ffe39a" if set_ else "#f4f4f4", "1" if set_ else ("0" if 0 <= v < 3 and 0 <= u < 10 else ""))
    drawing.box(2, 1, 10, 3, "#b4531f")
    drawing.text(0, 5.7, "the mask's first row in memory: bit 128 of a byte comes first", anchor="start")
    for x in range(16):
        bit = rows[0] >> (9 - x) & 1 if x < 10 else ""
        drawing.cell(x, 6.2, "#ffe39a" if bit == 1 else "#fff", bit if bit != "" else "-")
    drawing.box(0, 6.2, 8, 1, "#34618f")
    drawing.box(8, 6.2, 8, 1, "#34618f")
    drawing.text(4, 7.6, "byte 0")
    drawing.text(12, 7.6, "byte 1")
    return drawing


def tiles():
    """An image of 20 x 14 pixels, drawn at half size, in tiles of 8 x 8: the last ones reach beyond it."""
    width, height, tile = 20, 14, 8
    drawing = Drawing(12, 8)
    for row in range(-(-height // tile)):
        for column in range(-(-width // tile)):
            drawing.box(column * tile / 2, row * tile / 2, tile / 2, tile / 2, "#34618f")
            drawing.text(column * 4 + 2, row * 4 + 2, f"tile ({column}, {row})")
            drawing.text(column * 4 + 2, row * 4 + 2.5, f"from ({column * tile}, {row * tile})", size=10, color="#777")
    drawing.box(0, 0, width / 2, height / 2, "#b4531f")
    return drawing


def write(folder):
    for draw in (centres, zoom, regions, borders, window, mask, tiles):
        draw().save(folder / f"{draw.__name__}.svg")
