"""What real shells complete lines to."""

import os
import pty
import select
import subprocess
import time
from pathlib import Path

# Each prints, for each line of standard input, what the shell with the script of completion $1 completes it to, and "--".
BASH = r"""
source "$1"; compopt() { :; }
while IFS= read -r line; do
    COMP_WORDS=(${line//=/ = }); [[ $line != *" " ]] || COMP_WORDS+=(""); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _kp
    ((${#COMPREPLY[@]})) || mapfile -t COMPREPLY < <(compgen -f -- "${COMP_WORDS[-1]}")  # as without this completion
    printf '%s\n' "${COMPREPLY[@]}" --
done"""
FISH = r"""
source $argv[1]
while read -l line
    for each in (complete -C $line)
        string split -f 1 \t -- $each
    end
    printf '%s\n' --
end"""
# On a terminal, where Tab asks for what the line would be completed to and forgets the line.
ZSH = r"""
autoload -Uz compinit; fpath=({} $fpath); compinit -u -D; unset zle_bracketed_paste
compadd() {{
    local -a hits; [[ "${{(j: :)@[1,(i)(-|--)]}}" == *-[OAD]\ * ]] || {{ builtin compadd -O hits "$@"; print -lr -- $hits; }} >>answers
    builtin compadd "$@"
}}
capture() {{ _main_complete; compstate[insert]= compstate[list]=; }}
ask() {{ zle capture; print -r -- -- >>answers; BUFFER=; }}
zle -C capture complete-word capture; zle -N ask; bindkey '^I' ask; print -r -- -- >>answers
"""


def answers_of(text):
    """By line, each once, of an option's value only that, and without the slash of a directory."""
    return [sorted({word.rpartition("=")[2].rstrip("/") for word in answer.split("\n") if word}) for answer in text.split("--\n")[:-1]]


def ask_zsh(script, lines, environment):
    Path("answers").touch()
    process, terminal = pty.fork()
    if process == 0:
        os.execvpe("zsh", ["zsh", "-f", "-i"], environment)
    shown, latest = b"", time.monotonic() + 30
    Path("setup.zsh").write_text(ZSH.format(Path(script).resolve().parent))
    for at, typed in enumerate([". ./setup.zsh\n", *(line + "\t" for line in lines)]):
        os.write(terminal, typed.encode())
        while len(answers_of(Path("answers").read_text())) <= at:
            assert time.monotonic() < latest, shown
            if select.select([terminal], [], [], 0.01)[0]:
                shown += os.read(terminal, 1 << 16)
    os.close(terminal)  # which ends the shell
    os.waitpid(process, 0)
    return answers_of(Path("answers").read_text())[1:]


def completed(shell, script, lines, environment):
    """What completes each of the lines."""
    if shell == "zsh":
        return ask_zsh(script, lines, environment)
    command = {"bash": ["bash", "-c", BASH, "bash"], "fish": ["fish", "--no-config", "-c", FISH]}[shell]
    done = subprocess.run([*command, script], input="\n".join([*lines, ""]), capture_output=True, text=True, env=environment)
    assert (done.returncode, done.stderr) == (0, ""), done
    return answers_of(done.stdout)
