#!/usr/bin/env python3
"""Checks that scripts/setup.sh installs every command the scripts call.

Every shell script of the project (scripts/, bench/, fuzz/, tests/, .ci/run)
is scanned for the commands it runs. Each command that comes from a Debian
package that is neither essential nor of required priority must be listed
in scripts/lib/commands.sh with the package that provides it, and that
package must be among the packages of scripts/setup.sh. The mapping itself
is checked against dpkg: the command's path, or a link on the way to the
file it names, must belong to the package.

Usage: check_setup.py [ROOT]. Exit status 0 when all holds, 1 otherwise,
with one line per problem.
"""
import os
import re
import shlex
import shutil
import subprocess
import sys

# Debian's own directories: a command found elsewhere on the PATH (pyenv's
# python3, a hand-built tool) is not what a fresh machine has.
SYSTEM_PATH = "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin"

ROOT = sys.argv[1] if len(sys.argv) > 1 else os.path.dirname(os.path.dirname(os.path.abspath(__file__)))

# Words that can stand where a command stands without being one.
SHELL_WORDS = {
    "if", "then", "else", "elif", "fi", "do", "done", "while", "until", "for", "in",
    "case", "esac", "function", "select", "time", "!", "{", "}", "[[", "]]", "exec",
    "command", "builtin", "local", "declare", "export", "readonly", "return", "exit",
    "source", ".", "set", "shift", "trap", "cd", "echo", "printf", "read", "mapfile",
    "test", "[", "true", "false", "wait", "eval", "unset", "type", "pushd", "popd",
    "break", "continue", "let", "shopt", "ulimit", "umask", "kill", "jobs", "getopts",
}


# The project's own wrappers that take a command as an argument: the number
# of arguments before it, or None when every argument is a command name.
WRAPPERS = {"run_logged": 1, "require_commands": None}


def script_files():
    out = subprocess.run(["git", "ls-files", "--cached", "--others", "--exclude-standard"], cwd=ROOT, capture_output=True, text=True)
    names = out.stdout.split("\n") if out.returncode == 0 else []
    if not names or names == [""]:
        names = [os.path.relpath(os.path.join(d, f), ROOT)
                 for d, _, fs in os.walk(ROOT) if "/build" not in d for f in fs]
    result = []
    for name in names:
        path = os.path.join(ROOT, name)
        if not name or not os.path.isfile(path):
            continue
        if name.endswith(".sh") or name == ".ci/run":
            result.append(name)
    return sorted(result)


def strip_here_documents(text):
    """The script without the bodies of its here-documents: they are data
    (a CMake file, a message), not commands."""
    lines = text.split("\n")
    out = []
    i = 0
    while i < len(lines):
        line = lines[i]
        out.append(line)
        i += 1
        for dash, _, word in re.findall(r"(?<!<)<<(?!<)(-?)\s*(['\"]?)([A-Za-z_]\w*)\2", line):
            while i < len(lines) and (lines[i].lstrip("\t") if dash else lines[i]) != word:
                i += 1
            i += 1  # the terminator
    return "\n".join(out)


def commands_of(text):
    """The words at command position of a shell script: the first word of
    every simple command of its lists, pipelines, subshells and command
    substitutions. Quoted strings (awk programs, messages) are single
    words, case patterns and array literals are skipped."""
    text = strip_here_documents(text)
    # Arithmetic expansions ("$((n + 1))") hold no commands.
    text = re.sub(r"\$\(\((?:[^()]|\([^()]*\))*\)\)", "0", text)
    text = text.replace("\\\n", " ")  # line continuations
    text = text.replace("${#", "${")  # "${#x}" is no comment
    lex = shlex.shlex(text, posix=True, punctuation_chars="();<>|&\n")
    lex.whitespace = " \t\r"
    lex.commenters = "#"
    lex.wordchars += "$-.+/:=[]{}*,@%^~!?"
    try:
        raw = list(lex)
    except ValueError:
        return set()
    # shlex joins a run of punctuation ("(\n", "\n)\n"); split it into
    # the shell's operators.
    tokens = []
    for tok in raw:
        if tok and all(c in "();<>|&\n" for c in tok):
            tokens += re.findall(r"&&|\|\||;;|\|&|>>|<<|>&|<&|[();<>|&\n]", tok)
        else:
            tokens.append(tok)
    words = set()
    at_command = True
    depth_array = 0
    in_case = 0
    arithmetic = False
    for i, tok in enumerate(tokens):
        nxt = tokens[i + 1] if i + 1 < len(tokens) else ""
        if arithmetic:  # "(( ... ))" holds no commands
            arithmetic = not (tok == ")" and nxt == ")")
            continue
        if tok == "(" and nxt == "(" and at_command:
            arithmetic = True
            continue
        if depth_array:
            if "(" in tok:
                depth_array += 1
            elif ")" in tok:
                depth_array -= 1
            continue
        if tok.endswith("=") and nxt == "(":
            depth_array = 0  # the "(" that follows opens the array
            at_command = False
            continue
        if tok == "(" and i > 0 and tokens[i - 1].endswith("="):
            depth_array = 1
            continue
        if tok in ("\n", ";", "&", "&&", "|", "||", "(", "$(", ";;", "|&"):
            at_command = True
            continue
        if tok in ("{", "then", "do", "else", "elif", "if", "while", "until", "!", "time"):
            at_command = True
            continue
        if tok == ")":
            at_command = in_case > 0  # commands follow a case pattern
            continue
        if tok in ("<", ">", ">>", "<<", ">&", "<&"):
            at_command = False
            continue
        if "$(" in tok:  # a substitution inside a quoted word
            for inner in tok.split("$(")[1:]:
                if not inner.startswith("("):  # "$((": arithmetic
                    words |= commands_of(inner.split(")")[0])
        if tok.endswith("$") and nxt == "(" and tokens[i + 2:i + 3] == ["("]:
            arithmetic = True  # "x=$((": arithmetic, no command
            continue
        if tok.endswith("$"):  # "x=$(": the substitution opens a command
            at_command = False
            continue
        if not at_command:
            continue
        if tok == "case":
            in_case += 1
        if tok == "esac":
            in_case -= 1
        if in_case and nxt == ")":
            continue  # a case pattern
        if re.match(r"^[A-Za-z_][A-Za-z0-9_]*(\[[^]]*\])?\+?=", tok) or tok in (
                "!", "time", "exec", "command", "then", "do", "else", "{", "if", "while",
                "until", "elif", "in"):
            continue
        at_command = False
        if tok in WRAPPERS:  # a command given as an argument
            skip = WRAPPERS[tok]
            args = []
            for later in tokens[i + 1:]:
                if later in ("\n", ";", "&", "&&", "|", "||", ")"):
                    break
                args.append(later)
            if skip is None:
                words |= {a for a in args if re.match(r"^[\w.+-]+$", a)}
            elif len(args) > skip and re.match(r"^[\w.+-]+$", args[skip]):
                words.add(args[skip])
        if tok.startswith("-"):  # an option of "command" or "exec"
            at_command = True
            continue
        if tok in SHELL_WORDS or "$" in tok or "/" in tok or not re.match(r"^[\w.+-]+$", tok):
            continue
        words.add(tok)
    return words


def owner(path):
    # Debian 12 merges /bin into /usr/bin, but dpkg knows some files by
    # their /bin name only.
    candidates = [path]
    if path.startswith("/usr/"):
        candidates.append(path[4:])
    for candidate in candidates:
        out = subprocess.run(["dpkg", "-S", candidate], capture_output=True, text=True)
        if out.returncode == 0:
            return out.stdout.split(":")[0].strip()
    return None


def owners_on_chain(command):
    """Packages owning the command's path and every link to its target."""
    path = shutil.which(command, path=SYSTEM_PATH)
    found = []
    seen = set()
    while path and path not in seen:
        seen.add(path)
        pkg = owner(path)
        if pkg:
            found.append(pkg)
        if not os.path.islink(path):
            break
        target = os.readlink(path)
        path = os.path.normpath(os.path.join(os.path.dirname(path), target))
    return found


def always_present(pkg):
    out = subprocess.run(["dpkg-query", "-W", "-f=${Essential} ${Priority}", pkg],
                         capture_output=True, text=True)
    return out.returncode == 0 and (out.stdout.startswith("yes") or "required" in out.stdout)


def mapped_commands():
    text = open(os.path.join(ROOT, "scripts/lib/commands.sh")).read()
    return dict(re.findall(r"^\s*\[([^]]+)\]=(\S+)", text, re.M))


def setup_packages():
    text = open(os.path.join(ROOT, "scripts/setup.sh")).read()
    block = re.search(r"packages=\((.*?)\n\)", text, re.S).group(1)
    block = re.sub(r"#.*", "", block)
    return set(block.split())


def main():
    mapped = mapped_commands()
    packages = setup_packages()
    problems = []
    functions = set()
    used = {}
    for name in script_files():
        text = open(os.path.join(ROOT, name), errors="replace").read()
        functions |= set(re.findall(r"^\s*(?:function\s+)?([\w-]+)\s*\(\)", text, re.M))
        for word in commands_of(text):
            used.setdefault(word, name)
    for command, script in sorted(used.items()):
        if command in functions or command in mapped:
            continue
        path = shutil.which(command, path=SYSTEM_PATH)
        if path is None:
            problems.append(f"{script}: calls '{command}', which is not installed and not "
                            "listed in scripts/lib/commands.sh")
            continue
        pkgs = owners_on_chain(command)
        if pkgs and all(always_present(p) for p in pkgs):
            continue
        problems.append(f"{script}: calls '{command}' (package {'/'.join(pkgs) or 'unknown'}), "
                        "which scripts/lib/commands.sh does not list")
    for command, pkg in sorted(mapped.items()):
        if pkg not in packages:
            problems.append(f"scripts/lib/commands.sh: '{command}' comes from '{pkg}', "
                            "which scripts/setup.sh does not install")
        if shutil.which(command, path=SYSTEM_PATH) is None:
            problems.append(f"'{command}' is not on the PATH although setup.sh installs '{pkg}'")
        elif pkg not in owners_on_chain(command):
            problems.append(f"scripts/lib/commands.sh: '{command}' is not provided by '{pkg}' "
                            f"(dpkg says: {', '.join(owners_on_chain(command)) or 'no package'})")
    for p in problems:
        print("error:", p, file=sys.stderr)
    if not problems:
        print(f"setup: {len(used)} commands in {len(script_files())} scripts, "
              f"{len(mapped)} mapped to packages that setup.sh installs")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
