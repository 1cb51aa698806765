"""The figures as a picture: a bar for each, and one for what it was measured beside."""

from xml.sax.saxutils import escape

from bench.figures import text

WIDTH = 860
LABELS = 330
VALUES = 170
BAR = 14
ROW = 2 * BAR + 16
HEADING = 44

# Legible on white and on black: the text is in the middle between the two, as are the bars.
STYLE = """
text { font: 13px sans-serif; fill: #767676 }
.heading { font-weight: bold; font-size: 15px }
.ours { fill: #2f81d7 }
.others { fill: #9a9a9a }
"""


def svg(figures, caption):
    """The pairs of all times and memory; sizes, which have nothing beside them, are told by the table."""
    groups = {}
    for figure in figures:
        if figure.others:
            groups.setdefault(figure.measurement, []).append(figure)
    if not groups:
        raise ValueError("there is no pair to draw")
    parts, y = [], 8
    for number, group in groups.items():
        y += 26
        parts.append(f'<text class="heading" x="8" y="{y}">{escape(HEADINGS[number])}</text>')
        y += HEADING - 26 - 8
        for figure in group:
            longest = max(max(one.median, one.other) for one in group if one.unit == figure.unit)
            parts += row(figure, y, longest)
            y += ROW
    y += 22
    parts.append(f'<text x="8" y="{y}">{escape(caption)}</text>')
    height = y + 14
    return (f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {height}" width="{WIDTH}" '
            f'height="{height}" role="img">\n<title>Times and memory of the installer</title>\n'
            f"<style>{STYLE}</style>\n" + "\n".join(parts) + "\n</svg>\n")


def row(figure, y, longest):
    scale = (WIDTH - LABELS - VALUES) / longest
    bars = [("ours", figure.median, figure.what, ""), ("others", figure.other, figure.than, f", ratio {figure.ratio:.2f}")]
    parts = []
    for kind, value, label, more in bars:
        base = y + BAR - 2
        length = max(1, value * scale)
        parts.append(f'<text x="{LABELS - 8}" y="{base}" text-anchor="end">{escape(label)}</text>')
        parts.append(f'<rect class="{kind}" x="{LABELS}" y="{y}" width="{length:.1f}" height="{BAR}"/>')
        parts.append(f'<text x="{LABELS + length + 6:.1f}" y="{base}">{escape(text(value, figure.unit) + more)}</text>')
        y += BAR + 3
    return parts


HEADINGS = {1: "A managed installation", 2: "From the start to the visible window", 3: "Peak memory by payload size",
            4: "Lines of the activity log", 6: "The Mac's executable under the loader"}
