#!/usr/bin/env bash
# schema.sh DORN_LINT: the schema is one, takes every resource of the examples, and refuses what the
# linter refuses of single attributes; docs/vocabulary.md is what the table says.
set -uo pipefail
lint=$1
fail() {
  echo "FAILED: $1" >&2
  exit 1
}
"$lint" --vocabulary | diff docs/vocabulary.md - ||
  fail "docs/vocabulary.md is older than the table: build/dev/bin/dorn-lint --vocabulary >docs/vocabulary.md"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$lint" --schema >"$work/schema.json" || fail "no schema"
"$lint" --vocabulary >"$work/vocabulary.md"
python3 - "$lint" "$work" <<'PYTHON' || fail "the schema and the linter do not agree"
import glob, itertools, json, os, re, subprocess, sys
import jsonschema
lint, work = sys.argv[1:]
schema = json.load(open(work + '/schema.json', encoding='utf-8'))
jsonschema.Draft7Validator.check_schema(schema)
validator = jsonschema.Draft7Validator(schema)

# Every resource of the examples.
paths = glob.glob('examples/*/resources/**/*.json', recursive=True)
assert len(paths) >= 8, paths
for path in paths:
    errors = list(validator.iter_errors(json.load(open(path, encoding='utf-8'))))
    assert not errors, (path, errors[0].message)

# The names of both are those of the page.
properties = schema['definitions']['object']['properties']
page = re.findall(r'^\| `([A-Za-z]+)`', open(work + '/vocabulary.md', encoding='utf-8').read(), re.M)
types = {word for word in page if word.isupper() and len(word) > 1}
assert set(properties) == set(page) - types, set(properties) ^ (set(page) - types)
assert set(properties['Type']['anyOf'][0]['enum']) == types

# What is no dialog.
for wrong in ([], {}, {'Command': 'OPEN', 'Name': 'd'}, {'Command': 'DIALOG'}, {'Commands': [{'Command': 'OPEN'}]},
              {'Command': 'DIALOG', 'Name': 'd', 'Objects': {}}, {'Command': 'DIALOG', 'Name': 'd', 'Objects': [{}]},
              {'Command': 'DIALOG', 'Name': 'd', 'Objects': [3]}, {'Command': 'DIALOG', 'Name': 'd', 'own': 1.5},
              {'Command': 'DIALOG', 'Name': 'd', 'own': None}):
    assert not validator.is_valid(wrong), wrong
for right in ({'Command': 'DIALOG', 'Name': 'd'}, {'Commands': [{'Command': 'DIALOG', 'Name': 'd'}]},
              {'Commands': [{'Command': 'OPEN'}, {'Command': 'DIALOG', 'Name': 'd'}]},
              {'Command': 'DIALOG', 'Name': 'd', 'own': {'a': 1}, 'Objects': [{'Name': 'a', 'Type': 'GAUGE'}]},
              {'Commands': [], 'Command': 'DIALOG', 'Name': 'd'}):
    assert validator.is_valid(right), right

# Each attribute with each value: the schema accepts what the linter accepts.
values = ['', 'x', 'ON', 'OFF', 'true', 'RADIO', 'ALARM', 'ALARMS', 'ink', '0', '0.0', 'time', 'lines:', 'lines:4', 'NUMBER', '-12',
          '1-2', '+1', 0, 12, -3, True, False, [], ['a'], ['a', 1, True], [['a'], []], [['a', 2]], [[['a']]], ['a', []],
          {}, {'a': 'b'}]
os.makedirs(work + '/resources')
compared = refused = 0
told = {'attribute-value', 'name', 'notify-list', 'type-spelling'}
for key in [*properties, 'Label:ja', 'Options:ja', 'Columns:ja']:
    if key in ('Objects', 'Object', 'Commands', 'Dialog', 'Command', 'NotifyList', 'Alias', 'Attr', 'Value', 'Data', 'Type', 'Name'):
        continue
    plain = properties.get(key) or properties[key.split(':')[0]]
    types_on = re.search(r'\(([A-Z, ]+)\)', plain['description'])
    kind = types_on.group(1).split(', ')[0] if types_on else 'LABEL'
    dialogs = [{'Command': 'DIALOG', 'Name': f'd{i}', 'Objects': [{'Name': 'a', 'Type': kind, key: value}]} for i, value in enumerate(values)]
    for i, dialog in enumerate(dialogs):
        json.dump(dialog, open(f'{work}/resources/d{i}.json', 'w', encoding='utf-8'))
    run = subprocess.run([lint, '--json', work + '/resources'], capture_output=True, text=True)
    wrong = {os.path.basename(each['file']) for each in json.loads(run.stdout)
             if each['rule'] == 'attribute-value' and '1 or more' not in each['text']}
    for i, dialog in enumerate(dialogs):
        isRight = f'd{i}.json' not in wrong
        assert validator.is_valid(dialog) == isRight, (key, values[i], 'the linter takes it' if isRight else 'the linter refuses it')
        compared += 1
        refused += not isRight
assert compared > 1000 and refused > 300, (compared, refused)
print(f'{compared} values compared, {refused} refused by both')
PYTHON
