"""What is made of measured values: medians, ratios of pairs, spreads, and the form in which they are written down."""

import statistics
from dataclasses import asdict, dataclass, field


@dataclass(frozen=True)
class Figure:
    """Values of one thing, and of another that each was measured beside; `than` is empty where there is none."""
    measurement: int
    what: str
    unit: str
    values: list
    than: str = ""
    others: list = field(default_factory=list)

    def __post_init__(self):
        if not self.values:
            raise ValueError(f"{self.what}: nothing was measured")
        if self.than and len(self.others) != len(self.values):
            raise ValueError(f"{self.what}: {len(self.values)} values are no pairs with {len(self.others)}")

    @property
    def median(self):
        return statistics.median(self.values)

    @property
    def other(self):
        return statistics.median(self.others) if self.others else None

    @property
    def ratio(self):
        """The median of the pairs' ratios, in which what slows both down for a while is not seen."""
        return statistics.median(a / b for a, b in zip(self.values, self.others)) if self.others else None

    @property
    def difference(self):
        return statistics.median(a - b for a, b in zip(self.values, self.others)) if self.others else None

    @property
    def spread(self):
        """The quartiles."""
        return quartiles(self.values)

    def comparison(self):
        """The ratio, and for times the difference too."""
        more = f" ({text(self.difference, self.unit, '+')})" if self.unit == "s" else ""
        return f"{self.ratio:.2f}{more}"

    def as_json(self):
        made = {"median": self.median, "quartiles": self.spread}
        if self.others:
            made |= {"median of others": self.other, "quartiles of others": quartiles(self.others),
                     "ratio": self.ratio, "difference": self.difference}
        return asdict(self) | made


def from_json(written):
    return Figure(**{name: written[name] for name in Figure.__dataclass_fields__})


def quartiles(values):
    if len(values) == 1:
        return [values[0], values[0]]
    first, _, third = statistics.quantiles(values, n=4, method="inclusive")
    return [first, third]


def text(value, unit, sign=""):
    """A value as a person reads it."""
    if unit == "s":
        return f"{value * 1000:{sign}.0f} ms" if abs(value) < 1 else f"{value:{sign}.2f} s"
    if unit == "kB":
        return f"{value / 1024:.1f} MiB"
    return f"{value:,.0f} {unit}".rstrip()


def line(figure):
    """A figure in one line, for the terminal."""
    low, high = (text(value, figure.unit) for value in figure.spread)
    told = f"{figure.what}: {text(figure.median, figure.unit)}"
    if len(figure.values) > 1:
        told += f" ({low} to {high}, {len(figure.values)} runs)"
    if figure.others:
        told += f"; {figure.than}: {text(figure.other, figure.unit)}; ratio {figure.comparison()}"
    return told


def table(figures, earlier=()):
    """The figures as a Markdown table, each beside that of the same name of an earlier run."""
    before = {(figure.measurement, figure.what): figure for figure in earlier}
    rows = ["| What | Before | Now | Quartiles | Beside | Ratio before | Ratio now |",
            "|---|--:|--:|--:|---|--:|--:|"]
    for figure in figures:
        old = before.get((figure.measurement, figure.what))
        low, high = (text(value, figure.unit) for value in figure.spread)
        cells = [figure.what, text(old.median, old.unit) if old else "", text(figure.median, figure.unit),
                 f"{low} – {high}" if len(figure.values) > 1 else "",
                 f"{figure.than}, {text(figure.other, figure.unit)}" if figure.others else "",
                 old.comparison() if old and old.others else "", figure.comparison() if figure.others else ""]
        rows.append("| " + " | ".join(cells) + " |")
    return "\n".join(rows)
