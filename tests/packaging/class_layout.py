#!/usr/bin/env python3
"""class_layout.py ABI LIBRARY: what hosts have compiled into them, a line each.

Of every class that abidw knows and that is ours: its size, where its public members lie, and, out of the virtual
tables of the library itself, which function stands in which slot.
"""
import collections
import re
import subprocess
import sys
import xml.etree.ElementTree as ElementTree


def output(*command, text=None):
    return subprocess.run(command, input=text, stdout=subprocess.PIPE, check=True, text=True).stdout


def classes(abi):
    """Name, size and public members of each class outside of the standard library."""
    found = {}

    def walk(element, scope):
        for child in element:
            if child.tag == 'namespace-decl':
                if child.get('name') in ('std', '__gnu_cxx', '__cxxabiv1'):
                    continue
                walk(child, scope + child.get('name') + '::')
            elif child.tag == 'abi-instr':
                walk(child, scope)
            elif child.tag == 'class-decl' and child.get('size-in-bits') and child.get('visibility') == 'default':
                name = scope + child.get('name')
                if not re.match(r'(KZ|VQ|JsonParser$|value$|input$|dorn::)', name):
                    continue  # Of the system.
                members = [(int(m.get('layout-offset-in-bits')), m.find('var-decl').get('name'))
                           for m in child.findall('data-member')
                           if m.get('access') == 'public' and m.get('layout-offset-in-bits')]
                if name not in found or len(members) > len(found[name][1]):
                    found[name] = (int(child.get('size-in-bits')) // 8, members)
    walk(ElementTree.parse(abi).getroot(), '')
    return found


def tables(library):
    """Of each virtual table of a class the function in each slot, as its mangled name."""
    at, table = collections.defaultdict(list), {}
    for line in output('readelf', '--dyn-syms', '--syms', '-W', library).splitlines():
        fields = line.split()
        if len(fields) < 8 or fields[6] == 'UND' or fields[3] not in ('FUNC', 'OBJECT'):
            continue
        name = fields[7].split('@')[0]
        if fields[3] == 'FUNC':
            at[int(fields[1], 16)].append(name)
        elif re.match(r'_ZTV(N4dorn)?[0-9]', name):
            table[name] = (int(fields[1], 16), int(fields[2], 0))
    points = {}
    for line in output('readelf', '-rW', library).splitlines():
        fields = line.split()
        if len(fields) == 4 and fields[2] == 'R_X86_64_RELATIVE':
            points[int(fields[0], 16)] = min(at.get(int(fields[3], 16), ['?']))
        elif len(fields) >= 5 and fields[2] == 'R_X86_64_64':
            points[int(fields[0], 16)] = fields[4].split('@')[0]
    # Before the functions stand the offset to the top, and the type.
    return {name: [points.get(address, 'nothing') for address in range(start + 16, start + size, 8)]
            for name, (start, size) in table.items()}


def main():
    public = classes(sys.argv[1])
    virtual = tables(sys.argv[2])
    lines = []
    for name, (size, members) in public.items():
        lines.append(f'{name}: {size} bytes')
        lines += [f'{name}: {bits // 8} {member}' for bits, member in sorted(members)]
    names = output('c++filt', text='\n'.join(virtual)).splitlines()
    for mangled, name in zip(virtual, names):
        name = name.replace('vtable for ', '')
        if name in public:
            lines += [f'{name}: slot {slot} {function}' for slot, function in enumerate(virtual[mangled])]
    lines.sort(key=lambda line: line.partition(': ')[0])
    print(output('c++filt', text='\n'.join(lines)))


main()
