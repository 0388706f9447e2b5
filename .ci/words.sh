#!/bin/sh
# Words that do not belong into the project: paths of somebody's machine, and documents that its
# readers do not have.
set -u
cd "$(dirname "$0")/.." || exit

# Brackets keep the patterns from finding themselves.
documents='\b[Pp]arts? [1-6]\.[0-9]|\bthe [s]pec\b|[s]pec\.md|[s]pecification|[c]onventions\.md|[e]ntries\.md'
paths='(^|[^[:alnum:]_.*$}/-])/(work|home|root|mnt|Users)/|\.\./[s]hared'

files() {
   if git rev-parse --is-inside-work-tree >/dev/null 2>&1; then
      git ls-files -z --cached --others --exclude-standard
   else
      find . \( -name .git -o -path ./build \) -prune -o -type f -print0
   fi
}

# grep: 0 found, 1 nothing found; xargs turns the 1 into 123.
if files | xargs -0 -r grep -nIHE "$documents|$paths"; then
   echo ".ci/words.sh: words that do not belong here, see above"
   exit 1
fi
exit 0
