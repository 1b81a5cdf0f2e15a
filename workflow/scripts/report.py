"""Compares the groups of a study and writes the report: one HTML file that needs nothing beside it.

Run by the workflow; what it holds follows from the results alone, so that every run writes the same bytes. For each
structure the means of the groups are compared by Welch's t-test (B. L. Welch, The
generalization of "Student's" problem when several different population variances are involved, Biometrika 34, 1947);
p is corrected for the number of structures by the step-down method (S. Holm, A simple sequentially rejective multiple
test procedure, Scandinavian Journal of Statistics 6, 1979). The exact permutation p is given beside it. Densities of
points are compared by `vorlen-cli compare` and shown here.
"""

import html
import itertools
import json
import math
import os
import pathlib
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))

import maps  # noqa: E402
from scipy.stats import ttest_ind  # noqa: E402

HEADINGS = ("Structure", "Mean of {0}", "Mean of {1}", "Difference", "p", "p, corrected", "p by permutation", "")


def welch(first, second):
    """Two-sided p; 1 for groups that are the same number throughout, 0 for two such numbers."""
    if len(set(first)) == 1 and len(set(second)) == 1:
        return 1.0 if first[0] == second[0] else 0.0
    return float(ttest_ind(first, second, equal_var=False).pvalue)


def permutation(first, second):
    """Two-sided p of the difference of the means over all ways to part the specimens; None for more than 200,000."""
    values = first + second
    if math.comb(len(values), len(first)) > 200000:
        return None
    total = math.fsum(values)

    def distance(part):
        return abs(math.fsum(part) / len(first) - (total - math.fsum(part)) / len(second))

    # As far apart as seen, but for rounding.
    seen = distance(first) * (1 - 1e-9)
    parts = [distance(part) >= seen for part in itertools.combinations(values, len(first))]
    return sum(parts) / len(parts)


def holm(ps):
    corrected = [0.0] * len(ps)
    greatest = 0.0
    for rank, k in enumerate(sorted(range(len(ps)), key=ps.__getitem__)):
        greatest = max(greatest, min(1.0, ps[k] * (len(ps) - rank)))
        corrected[k] = greatest
    return corrected


def value_of(stack, structure, measure):
    """The measure; None, with the reason, where the specimen has none."""
    found = [model for model in stack["models"] if model["name"] == structure]
    if not found:
        return None, f"there is no {structure}"
    value = found[0].get(measure)
    if not isinstance(value, (int, float)) or not math.isfinite(value) or value <= 0:
        return None, f"{structure} has no {measure}"
    return float(value), ""


def compare(stacks, specimens, settings):
    """The comparison of each structure, and warnings."""
    rows, warnings = [], []
    units = {stack["unit"] for stack in stacks.values()}
    if len(units) > 1:
        raise SystemExit(f"The stacks have different units ({', '.join(sorted(units))}): their numbers can't be compared")
    for structure in settings["structures"]:
        values = {group: [] for group in settings["groups"]}
        for name, group in specimens:
            value, problem = value_of(stacks[name], structure, settings["measure"])
            if value is None:
                warnings.append(f"{name}: {problem}; left out there")
            else:
                values[group].append([name, value])
        first, second = ([value for _, value in values[group]] for group in settings["groups"])
        if min(len(first), len(second)) < 2:
            warnings.append(f"{structure}: fewer than two specimens in a group; not compared")
            continue
        means = [math.fsum(part) / len(part) for part in (first, second)]
        rows.append({"structure": structure, "values": values, "means": means,
                     "percent": 100 * (means[1] / means[0] - 1), "p": welch(first, second),
                     "permutationP": permutation(first, second)})
    for row, p in zip(rows, holm([row["p"] for row in rows])):
        row["correctedP"] = p
        row["differs"] = p < settings["alpha"]
    return rows, warnings, units.pop()


def plot(row, groups):
    """A picture of the values of one structure, each specimen a dot, each mean a bar."""
    values = [value for group in groups for _, value in row["values"][group]]
    low, high = min(values), max(values)
    margin = (high - low or abs(high)) * 0.1
    low, high = low - margin, high + margin

    def height(value):
        return 170 - 150 * (value - low) / (high - low)

    marks = []
    for k, (group, mean) in enumerate(zip(groups, row["means"])):
        x = 110 + 90 * k
        marks.append(f'<line x1="{x - 25}" x2="{x + 25}" y1="{height(mean):.1f}" y2="{height(mean):.1f}" class="mean"/>')
        for i, (name, value) in enumerate(row["values"][group]):
            shift = 8 * (i - (len(row["values"][group]) - 1) / 2) if len(row["values"][group]) < 8 else 0
            marks.append(f'<circle cx="{x + shift:.1f}" cy="{height(value):.1f}" r="4" class="dot{k}">'
                         f"<title>{html.escape(name)}: {value:.6g}</title></circle>")
        marks.append(f'<text x="{x}" y="190" text-anchor="middle">{html.escape(group)}</text>')
    scale = "".join(f'<text x="62" y="{height(v) + 4:.1f}" text-anchor="end">{v:.6g}</text>'
                    f'<line x1="66" x2="250" y1="{height(v):.1f}" y2="{height(v):.1f}" class="grid"/>'
                    for v in (min(values), max(values)))
    return (f'<figure><svg viewBox="0 0 260 200" width="260" height="200">{scale}{"".join(marks)}</svg>'
            f'<figcaption>{html.escape(row["structure"])}</figcaption></figure>')


def table(headings, rows, texts=1):
    """texts: how many columns have texts and stand on the left; numbers stand on the right."""
    def line(kind, cells):
        return "".join(f"<{kind}{' class=text' if i < texts else ''}>{html.escape(str(cell))}</{kind}>"
                       for i, cell in enumerate(cells))
    body = "".join(f"<tr>{line('td', row)}</tr>" for row in rows)
    return f"<table><thead><tr>{line('th', headings)}</tr></thead><tbody>{body}</tbody></table>"


def p_text(p):
    return "–" if p is None else "< 0.0001" if p < 0.0001 else f"{p:.4f}"


STYLE = """body{font:15px/1.5 sans-serif;max-width:60em;margin:2em auto;padding:0 1em;color:#222}
table{border-collapse:collapse;margin:1em 0}th,td{padding:.25em .8em;border-bottom:1px solid #ccc;text-align:right}
.text{text-align:left}figure{display:inline-block;margin:0 1em 1em 0;text-align:center}
svg text{font:11px sans-serif;fill:#444}.grid{stroke:#ddd}.mean{stroke:#222;stroke-width:2}.ground{fill:#eee}
.cells,img{image-rendering:pixelated}img{max-width:15em}td{overflow-wrap:anywhere}.found{font-weight:bold}
.dot0{fill:#2a6fb0}.dot1{fill:#c8552b}pre{background:#f4f4f4;padding:.6em;white-space:pre-wrap}"""


def sizes_section(rows, unit, settings):
    groups = settings["groups"]
    cells = [(row["structure"], *(f"{mean:.6g}" for mean in row["means"]), f'{row["percent"]:+.2f} %', p_text(row["p"]),
              p_text(row["correctedP"]), p_text(row["permutationP"]), "differs" if row["differs"] else "")
             for row in rows]
    headings = [heading.format(*groups) for heading in HEADINGS]
    return f"""<h2>Sizes: {settings["measure"]} in {html.escape(unit)}</h2>
{table(headings, cells)}
<p>p: Welch's t-test, two-sided; corrected for the number of structures by Holm's method. By permutation: the share of
all ways to part the specimens that are as far apart; it can't be small where there are few specimens.</p>
{"".join(plot(row, groups) for row in rows)}"""


def compared_text(name, compared):
    """What the permutation test of a structure's densities has found, as a sentence."""
    least = 1 / compared["permutations"]
    clusters = [one for one in compared["clusters"] if one.get("p", 1) <= compared["alpha"]]
    found = f'{compared["significantPlaces"]} of {compared["places"]} places differ'
    if not compared["significantPlaces"]:
        found = f'none of {compared["places"]} places differs'
    text = (f'{name}: {found} (p up to {compared["alpha"]:g}, corrected for all places; the least p is '
            f'{compared["leastP"]:.4g} of {compared["permutations"]} permutations'
            f'{", all there are" if compared["exact"] else ""}).')
    if clusters:
        text += f" {len(clusters)} clusters differ."
    # The specimens as they are, and with the groups exchanged, are as far apart.
    sizes = [len(group["files"]) for group in compared["groups"]]
    if (2 if sizes[0] == sizes[1] else 1) * least > compared["alpha"]:
        text += " So few specimens cannot give a p as small as that: only more of them could show a difference."
    return text


def maps_section(densities, comparisons, settings):
    """Maps of each group and of their difference; densities: (points, group, file), comparisons: (points, file)."""
    parts = []
    for points, file in comparisons:
        own = [(group, name) for model, group, name in densities if model == points]
        box, high = maps.common([name for _, name in own])
        difference = os.path.join(os.path.dirname(file), "comparison-difference.nrrd")
        parts.append(f"<h3>{html.escape(points)}</h3><p>{html.escape(compared_text(points, load(file)))}</p>"
                     + "".join(maps.picture(name, box, high, f"{points}, {group}") for group, name in own)
                     + maps.picture(difference, maps.common([difference])[0], high,
                                    f"{points}: {settings['groups'][1]} less {settings['groups'][0]}", signed=True))
    if not parts:
        return ""
    return ("<h2>Where points concentrate</h2><p>Density of each group in the space of the normalization ("
            + html.escape(settings["density"]["method"])
            + "), the greatest value along the line of sight, one scale for all.</p>" + "".join(parts))


def normalization_section(folder):
    summary = load(os.path.join(folder, "normalization.json"))
    cells = [(one["name"], f'{one["residual"]:.4g}', f'{one["turned_degrees"]:.2f}°',
              "mirrored" if one["mirrored"] else "", "stands out" if one["outlier"] else "")
             for one in summary["specimens"]]
    return (f'<h2>Normalization</h2><p>Residual: how far the surfaces of a specimen lie from the mean ones, in '
            f'{html.escape(summary["unit"])}.</p>' + table(("Specimen", "Residual", "Turned by", "", ""), cells))


def pictures_section(pictures):
    """pictures: (specimen, file)."""
    figures = "".join(f'<figure><img alt="{html.escape(name)}" src="{maps.data_url(pathlib.Path(file).read_bytes())}">'
                      f"<figcaption>{html.escape(name)}</figcaption></figure>" for name, file in pictures)
    return f"<h2>Pictures</h2>{figures}" if figures else ""


def page(rows, warnings, unit, records, settings, sections=()):
    """The report; sections: what comes between the sizes and the warnings, as HTML."""
    groups = settings["groups"]
    unit += {"volume": "³", "area": "²"}[settings["measure"]]
    found = [row for row in rows if row["differs"]]
    verdict = "; ".join(f'{row["structure"]} differs by {row["percent"]:+.1f} %' for row in found) or "No structure differs"
    inputs = [(name, path, digest) for name, record in records.items() for path, digest in record["inputs"].items()]
    versions = sorted({record["program"] for record in records.values()})
    if len(versions) > 1:
        warnings = warnings + ["specimens were measured by different versions: " + ", ".join(versions)]
    title = html.escape(settings["title"])
    listed = "".join(f"<li>{html.escape(warning)}</li>" for warning in warnings) or "<li>none</li>"
    return f"""<!DOCTYPE html>
<html lang="en"><head><meta charset="utf-8"><title>{title}</title><style>{STYLE}</style></head><body>
<h1>{title}</h1>
<p><span class="found">{html.escape(verdict)}</span> ({html.escape(groups[1])} against {html.escape(groups[0])},
{settings["measure"]}, p below {settings["alpha"]:g} after correction).</p>
{sizes_section(rows, unit, settings)}
{"".join(sections)}
<h2>Warnings</h2><ul>{listed}</ul>
<h2>Where the numbers come from</h2><p>{html.escape(", ".join(versions))}</p>
{table(("Specimen", "Stack", "SHA-256"), inputs, texts=3)}
<h2>Parameters</h2><pre>{html.escape(json.dumps(settings, indent=2, ensure_ascii=False))}</pre>
</body></html>
"""


def write(name, text):
    with open(f"{name}.part", "w", encoding="utf-8") as file:
        file.write(text)
    os.replace(f"{name}.part", name)


def load(name):
    with open(name, encoding="utf-8") as file:
        return json.load(file)


def problems(name, file):
    """What the check of a specimen has found, as warnings."""
    return [f'{name}: {problem["message"]}' for stack in load(file) for problem in stack["problems"]
            if problem["severity"] != "note"]


def provenance_warnings(file):
    """The warnings of the step that wrote the file; none when it left no record."""
    record = f"{os.path.splitext(file)[0]}.provenance.json"
    return load(record)["warnings"] if os.path.exists(record) else []


def main(results, specimens, settings, report, comparison):
    """results: the files of each kind, as the workflow names them."""
    names = [name for name, _ in specimens]
    stacks = {name: load(file)[0] for name, file in zip(names, results["measures"])}
    records = {name: load(file) for name, file in zip(names, results["provenance"])}
    rows, warnings, unit = compare(stacks, specimens, settings)
    for name, file in zip(names, results["checks"]):
        warnings += problems(name, file)
    warnings += [f"{name}: {warning}" for name, record in records.items() for warning in record["warnings"]]
    points, groups = settings["density"]["points"], settings["groups"]
    kinds = [(model, group) for model in points for group in groups]
    densities = [(*kind, file) for kind, file in zip(kinds, results["densities"])]
    comparisons = list(zip(points, results["comparisons"]))
    sections = []
    if results["normalized"]:
        folder = results["normalized"]
        warnings += [f"normalization: {warning}" for warning in load(os.path.join(folder, "provenance.json"))["warnings"]]
        sections.append(normalization_section(folder))
    for model, group, file in densities:
        warnings += [f"density of {model}, {group}: {warning}" for warning in provenance_warnings(file)]
    for model, file in comparisons:
        warnings += [f"comparison of {model}: {warning}" for warning in provenance_warnings(file)]
    sections.append(maps_section(densities, comparisons, settings))
    sections.append(pictures_section([(os.path.splitext(os.path.basename(file))[0], file)
                                      for file in results["pictures"]]))
    write(comparison, json.dumps(rows, indent=2, ensure_ascii=False) + "\n")
    write(report, page(rows, warnings, unit, records, settings, sections))


if "snakemake" in globals():
    kinds = ("checks", "measures", "provenance", "densities", "comparisons", "pictures")
    found = {kind: list(snakemake.input[kind]) for kind in kinds}
    folder = snakemake.input.normalized  # a name, or a list that may be empty
    found["normalized"] = folder if isinstance(folder, str) else next(iter(folder), None)
    main(found, snakemake.params.specimens, snakemake.params.settings, snakemake.output.report,
         snakemake.output.comparison)
