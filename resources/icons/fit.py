"""Fits drawings to numbers of pixels that are no multiples of their grid, so that upright and lying edges are sharp."""
import math
import re
import xml.etree.ElementTree as ET

ET.register_namespace("", "http://www.w3.org/2000/svg")


class GRID:
    """Where places of a drawing come to lie on pixels. What is symmetric to the middle stays so."""

    def __init__(self, cells, pixels):
        self.middle = cells / 2
        self.scale = pixels / cells

    def line(self, width):
        """How wide an upright or lying line becomes: whole pixels."""
        return max(1, math.floor(width * self.scale)) if width else 0

    def edge(self, place, width=0):
        """Where the middle of such a line comes to lie, or an edge without a line. The outer side of a line decides."""
        aside = place - self.middle
        if aside == 0:
            return self.middle * self.scale
        outer = math.floor((abs(aside) + width / 2) * self.scale + 0.5)
        return self.middle * self.scale + math.copysign(outer - self.line(width) / 2, aside)


def fit(drawing, pixels):
    """The drawing for that many pixels; as it is where its grid does."""
    root = ET.fromstring(drawing)
    cells = float(root.get("viewBox").split()[2])
    if pixels % cells == 0:
        return drawing
    root.set("viewBox", f"0 0 {pixels} {pixels}")
    fit_shapes(root, GRID(cells, pixels), 0)
    return ET.tostring(root, encoding="unicode")


def fit_shapes(parent, grid, inherited):
    """Inherited is the width of line that a shape has without a word of its own."""
    for shape in parent:
        width = float(shape.get("stroke-width", 1)) if shape.get("stroke") else inherited
        kind = shape.tag.split("}")[-1]
        if kind == "rect":
            fit_rect(shape, grid, width)
        elif kind == "circle":
            fit_circle(shape, grid, width)
        elif kind == "path":
            fit_path(shape, grid, width)
        else:
            fit_shapes(shape, grid, width)


def put(shape, **numbers):
    for name, number in numbers.items():
        shape.set(name.replace("_", "-"), f"{number:.3f}")


def fit_rect(shape, grid, width):
    x, y, wide, high, rx = (float(shape.get(name, 0)) for name in ("x", "y", "width", "height", "rx"))
    left, right = grid.edge(x, width), grid.edge(x + wide, width)
    top, bottom = grid.edge(y, width), grid.edge(y + high, width)
    put(shape, x=left, y=top, width=right - left, height=bottom - top, rx=rx * grid.scale,
        stroke_width=grid.line(width))


def fit_circle(shape, grid, width):
    x, y, radius = (float(shape.get(name)) for name in ("cx", "cy", "r"))
    radius += width / 2
    left, right = grid.edge(x - radius), grid.edge(x + radius)
    top, bottom = grid.edge(y - radius), grid.edge(y + radius)
    width *= grid.scale  # nothing but its outermost points could be sharp
    put(shape, cx=(left + right) / 2, cy=(top + bottom) / 2, r=(min(right - left, bottom - top) - width) / 2,
        stroke_width=width)


def fit_path(shape, grid, width):
    """Ends of upright and lying lines go to whole pixels; between them curves keep their form, all else its place."""
    parts = list(path_parts(shape.get("d")))
    upright, lying = set(), set()
    at = None
    for letter, points, _ in parts:
        for end in points if letter == "L" else []:
            if end[0] == at[0]:
                upright |= {at, end}
            if end[1] == at[1]:
                lying |= {at, end}
        at = points[-1] if points else at

    def place(point):
        x, y = point
        if point not in upright | lying:
            return x * grid.scale, y * grid.scale
        return grid.edge(x, width if point in upright else 0), grid.edge(y, width if point in lying else 0)

    def beside(control, point):
        return tuple(place(point)[i] + (control[i] - point[i]) * grid.scale for i in (0, 1))

    text = ""
    for letter, points, arc in parts:
        fitted = [place(point) for point in points]
        text += letter
        if letter == "C":
            fitted = [beside(points[0], at), beside(points[1], points[2]), fitted[2]]
        elif letter == "A":
            radius, turns = arc
            radius *= math.dist(place(at), fitted[0]) / math.dist(at, points[0])
            text += f"{radius:.3f} {radius:.3f} 0 {turns} "
        text += " ".join(f"{number:.3f}" for point in fitted for number in point)
        at = points[-1] if points else at
    shape.set("d", text)
    if upright or lying:
        line = grid.line(width)
        # A line through the middle has as much on either side.
        centred = any(x == grid.middle for x, _ in upright) or any(y == grid.middle for _, y in lying)
        put(shape, stroke_width=max(2, line - line % 2) if centred and width else line)
    else:
        put(shape, stroke_width=width * grid.scale)


def path_parts(path):
    """Letter, points and arc of each part of a path, in capital letters: M, L, C, A and Z, counted from the corner."""
    words = re.findall(r"[A-Za-z]|-?(?:\d*\.\d+|\d+)", path)
    at = start = control = (0, 0)
    letter = ""
    while words:
        if words[0].isalpha():
            letter = words.pop(0)
        kind = letter.upper()
        from_x, from_y = at if letter.islower() else (0, 0)
        numbers = [float(words.pop(0)) for _ in range({"H": 1, "V": 1, "S": 4, "C": 6, "A": 7, "Z": 0}.get(kind, 2))]
        arc = None
        if kind == "Z":
            if at != start:
                yield "L", [start], None
            yield "Z", [], None
            at = control = start
            continue
        if kind == "H":
            kind, points = "L", [(from_x + numbers[0], at[1])]
        elif kind == "V":
            kind, points = "L", [(at[0], from_y + numbers[0])]
        elif kind == "A":
            arc, numbers = (numbers[0], f"{numbers[3]:.0f} {numbers[4]:.0f}"), numbers[5:]
        if letter not in "HhVv":
            points = [(from_x + x, from_y + y) for x, y in zip(numbers[::2], numbers[1::2])]
        if kind == "S":  # goes on as the last curve ended
            kind, points = "C", [(2 * at[0] - control[0], 2 * at[1] - control[1])] + points
        yield kind, points, arc
        at = points[-1]
        control = points[1] if kind == "C" else at
        if kind == "M":
            start = at
            letter = "l" if letter == "m" else "L"
