"""Writes the figures of a run into docs/reliability.md."""
import datetime
import os
import subprocess

BEGIN = "<!-- figures: written by endurance/run --page -->\n"
END = "<!-- end of figures -->\n"


def figures_of(run):
    return "; ".join(f"{what}: {count:,}" for what, count in sorted(run.figures.items())) or "not tried here"


def commit_of(root):
    return subprocess.run(["git", "describe", "--always", "--dirty"], cwd=root, capture_output=True, text=True,
                          check=True).stdout.strip()


def write(root, commit, options, minutes, runs):
    day = datetime.datetime.now(datetime.timezone.utc).strftime("%Y-%m-%d")
    lines = [f"The last long run: `endurance/run {options}` on {day}, commit `{commit}`, {os.cpu_count()} cores, "
             f"{minutes:.0f} minutes. Every scenario held.", "",
             "| scenario | what is tried | what held | rounds | figures |", "|---|---|---|---:|---|"]
    for run in runs:
        scenario = run.scenario
        lines.append(f"| `{scenario.name}` | {scenario.tries} | {scenario.holds} | {run.progress.done:,} | "
                     f"{figures_of(run)} |")
    path = os.path.join(root, "docs/reliability.md")
    with open(path) as file:
        text = file.read()
    before, rest = text.split(BEGIN)
    after = rest.split(END)[1]
    with open(path, "w") as file:
        file.write(before + BEGIN + "\n".join(lines) + "\n" + END + after)
