#!/usr/bin/python3
"""The library's jobs as somebody might do them in Python. Takes a job in each line, prints the nanoseconds of the
processor that it took."""
import gc
import json
import os
import sys
import time

ALWAYS = ("labelTextId", "dataModel", "lastModified", "iconName")
UNLESS_EMPTY = ("templateType", "labelTextUrl", "dependencyFile", "dependencyFileExtern", "moduleName", "objectName",
                "bufferType")
LISTS = ("selectorTypeList", "selectorTypeListEndpoint")

manifest = []


def read(path):
    with open(path, "rb") as file:
        return json.loads(file.read())


def text_in(description, key):
    value = description.get(key, "")
    return value if isinstance(value, str) else ""


def selection(description, name):
    element = {"selectionType": "Selection", "closeMode": "Manual", "uiJob": "OpenConfiguration",
               "hide": description.get("hide") is True}
    for key in ALWAYS:
        element[key] = text_in(description, key)
    for key in UNLESS_EMPTY:
        if text_in(description, key):
            element[key] = description[key]
    for key in LISTS:
        if isinstance(description.get(key), list) and description[key]:
            element[key] = description[key]
    if description.get("connectorId", -1) >= 0:
        element["connectorId"] = description["connectorId"]
    element["instanceName"] = text_in(description, "instanceName") or name
    return element


def node(description, name, children):
    for key in ("displayPosition", "tolmVersion", "configurationVersion"):
        description.pop(key, None)
    description.update(selectionType="Node", dataSourceType="JsonData", instanceName=name, substructure=children)
    return description


def scan(folder, prefix):
    found = []
    with os.scandir(folder) as entries:
        for entry in entries:
            name = entry.name
            if name.startswith("."):
                continue
            base = name.partition(".")[0]
            if entry.is_dir():
                children = scan(entry.path, prefix + name + "/")
                if children:
                    description = read(entry.path + "/Folder.menu.json")
                    position = description.get("displayPosition", -1)
                    found.append((True, position, name, node(description, base, children)))
            elif name.endswith(".config.json"):
                description = read(entry.path)
                found.append((False, description.get("displayPosition", -1), name,
                              selection(description, prefix + base)))
    found.sort(key=lambda entry: entry[:3])
    return [entry[3] for entry in found]


def create(folder):
    global manifest
    manifest = scan(folder, "")
    save(folder + "/configuration.manifest.json")


def stamp(value, module, name):
    if isinstance(value, dict):
        if value.get("selectionType") == "Selection":
            if module:
                value["moduleName"] = module
            if name:
                value["objectName"] = name
        value = value.values()
    elif not isinstance(value, list):
        return
    for inner in value:
        if isinstance(inner, (dict, list)):
            stamp(inner, module, name)


def load(path, module, name):
    global manifest
    manifest = read(path)
    stamp(manifest, module, name)


def save(path):
    text = json.dumps(manifest, ensure_ascii=False, separators=(",", ":"), sort_keys=True)
    with open(path + ".new", "wb") as file:
        file.write(text.encode())
        file.flush()
        os.fsync(file.fileno())
    os.replace(path + ".new", path)


def addressed_name(element):
    name = element["instanceName"]
    return name.rpartition("/")[2] if element["selectionType"] == "Selection" else name


def set_and_save(path, instance_path, key, value):
    array = manifest
    for name in instance_path.split("/"):
        element = next(item for item in array if addressed_name(item) == name)
        array = element.get("substructure", [])
    element[key] = value
    save(path)


def main():
    jobs = {job.__name__: job for job in (create, load, save, set_and_save)}
    for line in sys.stdin:
        job, *arguments = json.loads(line)
        gc.collect()
        start = time.process_time_ns()
        jobs[job](*arguments)
        print(time.process_time_ns() - start, flush=True)


main()
