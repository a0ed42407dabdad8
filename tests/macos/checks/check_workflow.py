#!/usr/bin/env python3
"""Reads the description of the build server's work as the server would.

    check_workflow.py FILE

Its shape, its keys, and that each preset, script and package that it names is there.
"""

import json
import re
import sys
from pathlib import Path

import yaml

ROOT = Path(__file__).resolve().parents[3]
TOP_KEYS = {"name", "on", "permissions", "jobs"}
JOB_KEYS = {"runs-on", "container", "timeout-minutes", "steps"}
STEP_KEYS = {"name", "uses", "with", "run"}
# What each needs to be told, and may be told.
ACTIONS = {"actions/checkout": (set(), set()),
           "actions/upload-artifact": ({"name", "path"}, {"if-no-files-found"})}
# What the Mac's build looks for, by the package that holds it.
MAC_PACKAGES = {"ninja", "googletest", "librsvg", "nlohmann-json"}


class UniqueKeys(yaml.SafeLoader):
    """Refuses a key that stands twice, of which a parser would keep one."""

    def construct_mapping(self, node, deep=False):
        keys = [self.construct_object(key, deep=True) for key, _ in node.value]
        for key in keys:
            if keys.count(key) > 1:
                raise yaml.YAMLError(f"the key {key} stands twice")
        return super().construct_mapping(node, deep)


def preset_names(kind):
    presets = json.loads((ROOT / "CMakePresets.json").read_text())
    return {preset["name"] for preset in presets[kind] if not preset.get("hidden")}


def command_faults(command):
    for kind, pattern in (("configurePresets", r"cmake --preset (\S+)"),
                          ("buildPresets", r"cmake --build --preset (\S+)"),
                          ("testPresets", r"ctest --preset (\S+)")):
        for name in re.findall(pattern, command):
            if name not in preset_names(kind):
                yield f"{name} is none of the {kind}"
    for script in re.findall(r"(?:^|[\s;&])((?:\.ci|scripts)/\S+)", command):
        if not (ROOT / script).is_file() or not (ROOT / script).stat().st_mode & 0o100:
            yield f"{script} is no program"


def step_faults(step):
    if not isinstance(step, dict) or set(step) - STEP_KEYS:
        yield f"no step: {step}"
        return
    if ("uses" in step) == ("run" in step):
        yield f"a step either uses an action or runs a command: {step}"
    if "run" in step:
        yield from command_faults(step["run"])
        return
    action, _, version = step.get("uses", "").partition("@")
    if action not in ACTIONS or not re.fullmatch(r"v\d+", version):
        yield f"an unknown action: {step.get('uses')}"
        return
    required, optional = ACTIONS[action]
    given = set(step.get("with", {}))
    if not required <= given or given - required - optional:
        yield f"{action} is told {sorted(given)}"


def job_faults(job):
    if set(job) - JOB_KEYS or not {"runs-on", "timeout-minutes", "steps"} <= set(job):
        yield f"its keys are {sorted(job)}"
        return
    if not isinstance(job["timeout-minutes"], int):
        yield "its time limit is no number"
    if not any(step.get("uses", "").startswith("actions/checkout@") for step in job["steps"]):
        yield "it has no sources"
    for step in job["steps"]:
        yield from step_faults(step)


def mac_faults(job):
    commands = "\n".join(step.get("run", "") for step in job["steps"])
    installed = set(" ".join(re.findall(r"brew install (.*)", commands)).split())
    if MAC_PACKAGES - installed:
        yield f"it does not install {sorted(MAC_PACKAGES - installed)}"
    for command in ("cmake --preset", "cmake --build --preset", "ctest --preset"):
        if command not in commands:
            yield f"it does not run {command}"
    for step in job["steps"]:
        path = step.get("with", {}).get("path")
        if path and path not in commands:
            yield f"nothing makes {path}"


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    workflow = yaml.load(Path(sys.argv[1]).read_text(), UniqueKeys)
    # By the rules of YAML 1.1 the word "on" is a boolean.
    keys = {"on" if key is True else key for key in workflow}
    faults = [] if keys == TOP_KEYS else [f"the keys are {sorted(keys)}"]
    for name, job in workflow.get("jobs", {}).items():
        faults += [f"{name}: {fault}" for fault in job_faults(job)]
    faults += [f"macos: {fault}" for fault in mac_faults(workflow["jobs"]["macos"])]
    print("\n".join(faults) or "check_workflow: as it should be")
    sys.exit(1 if faults else 0)


if __name__ == "__main__":
    main()
