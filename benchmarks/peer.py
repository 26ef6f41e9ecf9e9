#!/usr/bin/python3
"""The library's jobs, written in Python. Reads one job per line from standard input and prints the processor time that
it took, in nanoseconds."""
import json
import os
import sys
import time

ALWAYS = ("labelTextId", "dataModel", "lastModified", "iconName")
UNLESS_EMPTY = ("templateType", "labelTextUrl", "dependencyFile", "dependencyFileExtern", "moduleName", "objectName",
                "bufferType")
LISTS = ("selectorTypeList", "selectorTypeListEndpoint")

manifest = []
result = None


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


def unload():
    global manifest
    manifest = []


def load(path, module, name):
    global manifest
    manifest = read(path)
    for element in objects(manifest):
        if element.get("selectionType") == "Selection":
            if module:
                element["moduleName"] = module
            if name:
                element["objectName"] = name


def save(path):
    text = json.dumps(manifest, ensure_ascii=False, separators=(",", ":"), sort_keys=True)
    with open(path + ".new", "wb") as file:
        file.write(text.encode())
        file.flush()
        if os.path.exists(path):
            replaced = os.stat(path)
            os.chown(file.fileno(), replaced.st_uid, replaced.st_gid)
            os.chmod(file.fileno(), replaced.st_mode & 0o7777)
        os.fsync(file.fileno())
    os.replace(path + ".new", path)
    folder = os.open(os.path.dirname(path), os.O_RDONLY | os.O_DIRECTORY)
    os.fsync(folder)
    os.close(folder)


def addressed_name(element):
    name = element["instanceName"]
    return name.rpartition("/")[2] if element["selectionType"] == "Selection" else name


def find(instance_path):
    """Returns the list that contains an element, and its position there, which is None if the last name is missing."""
    array = manifest
    *names, last = instance_path.split("/")
    for name in names:
        array = next(element for element in array if addressed_name(element) == name)["substructure"]
    for position, element in enumerate(array):
        if addressed_name(element) == last:
            return array, position
    return array, None


def get(instance_path):
    global result
    array, position = find(instance_path)
    result = array[position]


def names(instance_path):
    global result
    array, position = find(instance_path)
    result = [child["instanceName"] for child in array[position]["substructure"]]


def set_value(instance_path, key, value):
    array, position = find(instance_path)
    array[position][key] = value


def add(instance_path, description, index):
    array, position = find(instance_path)
    if position is None:
        array.insert(index, selection(description, instance_path))


def delete(instance_path):
    array, position = find(instance_path)
    del array[position]


def move(instance_path, index):
    array, position = find(instance_path)
    array.insert(index, array.pop(position))


def sort(instance_path, order):
    array, position = find(instance_path)
    node_found = array[position]
    children = {addressed_name(child): child for child in node_found["substructure"]}
    if len(order) == len(children):
        node_found["substructure"] = [children[name] for name in order]


def objects(value):
    if isinstance(value, dict):
        yield value
        value = value.values()
    elif not isinstance(value, list):
        return
    for inner in value:
        if isinstance(inner, (dict, list)):
            yield from objects(inner)


def collect():
    global result
    result = [element["instanceName"] for element in objects(manifest) if element.get("selectionType") == "Selection"]


def update(instance_name, key, value):
    global result
    result = []
    for element in objects(manifest):
        if "selectionType" in element and element.get("instanceName") == instance_name:
            element[key] = value
            result.append(dict(element))


def tell(path):
    """Writes the manifest and the result of the last query or walk into a file."""
    with open(path, "w") as file:
        json.dump([manifest, result], file)


def main():
    jobs = (create, unload, load, save, get, names, set_value, add, delete, move, sort, collect, update, tell)
    by_name = {job.__name__: job for job in jobs}
    for line in sys.stdin:
        name, *arguments = json.loads(line)
        job = by_name[name]
        start = time.process_time_ns()
        job(*arguments)
        print(time.process_time_ns() - start, flush=True)


main()
