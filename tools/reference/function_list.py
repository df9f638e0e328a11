#!/usr/bin/env python3
"""Writes a line FUNCTION(NAME, "PARAMETERS") for every function of the public headers, in the order of their names:
function_list.py OUTPUT HEADER..."""

from headers import main, read_headers


def run(arguments):
    output, *paths = arguments
    functions = sorted((function for header in read_headers(paths) for function in header.functions()),
                       key=lambda function: function.name)
    with open(output, "w", encoding="utf-8") as file:
        for function in functions:
            parameters = ", ".join(parameter.declaration() for parameter in function.parameters) or "void"
            file.write(f'FUNCTION({function.name}, "{parameters}")\n')


if __name__ == "__main__":
    main(run)
