# SPDX-License-Identifier: GPL-3.0-or-later
"""Two panels against the latency of a link of 40 MB/s: how much of the raw stream's speed copies reach, and how long
listings take."""

WIDTH, HEIGHT = 280, 210
COLORS = ("#1f77b4", "#d62728", "#2ca02c", "#9467bd")


def series(rows, work, column):
    """Latency in ms and a figure of the rows (link, work, seconds, round trips, limit, ratio) of some work."""
    found = []
    for row in rows:
        link = row[0].split(", ")
        if row[1] == work and link[1] == "40 MB/s" and len(link) == 2:
            found.append((float(link[0].split()[0]), float(row[column])))
    return sorted(found)


def panel(left, title, lines, top):
    """`lines`: label and points each."""
    most = max(at for _, points in lines for at, _ in points)

    def place(at, value):
        return f"{left + WIDTH * at / most:.0f},{40 + HEIGHT * (1 - value / top):.0f}"

    parts = [f'<text x="{left}" y="24" font-weight="bold">{title}</text>',
             f'<path d="M{left} 40v{HEIGHT}h{WIDTH}" fill="none" stroke="black"/>']
    for at in sorted({at for _, points in lines for at, _ in points}):
        parts.append(f'<text x="{left + WIDTH * at / most:.0f}" y="{58 + HEIGHT}" text-anchor="middle">{at:g} ms</text>')
    for part in (0, 0.25, 0.5, 0.75, 1):
        height = 40 + HEIGHT * (1 - part)
        parts.append(f'<text x="{left - 6}" y="{height + 4:.0f}" text-anchor="end">{top * part:.2f}</text>')
        parts.append(f'<path d="M{left} {height:.0f}h{WIDTH}" stroke="#ddd"/>')
    for number, (label, points) in enumerate(lines):
        color = COLORS[number]
        parts.append(f'<polyline points="{" ".join(place(*point) for point in points)}" fill="none" '
                     f'stroke="{color}" stroke-width="2"/>')
        parts += [f'<circle cx="{spot[0]}" cy="{spot[1]}" r="3" fill="{color}"/>'
                  for spot in (place(*point).split(",") for point in points)]
        parts.append(f'<text x="{left + WIDTH - 130}" y="{HEIGHT - 40 + 18 * number}" fill="{color}">{label}</text>')
    return parts


def drawing(rows):
    copies = [(label, series(rows, work, 5)) for label, work in (("cp onto", "cp 256 MiB onto"),
                                                                 ("cp off", "cp 256 MiB off"),
                                                                 ("dd bs=4k read", "dd bs=4k of 64 MiB read"))]
    lists = [(label, series(rows, work, 2)) for label, work in (("2,000 entries", "ls -l of 2000 entries"),
                                                                ("20,000 entries", "ls -l of 20000 entries"))]
    longest = max(value for _, points in lists for _, value in points)
    parts = ['<svg xmlns="http://www.w3.org/2000/svg" width="760" height="290" font-family="sans-serif" font-size="12">',
             '<rect width="760" height="290" fill="white"/>',
             *panel(60, "Part of the raw stream's speed, 40 MB/s", copies, 1.0),
             *panel(440, "Seconds of ls -l, 40 MB/s", lists, 1.1 * longest), "</svg>"]
    return "\n".join(parts) + "\n"
