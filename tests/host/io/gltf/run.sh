#!/usr/bin/env bash
# run.sh WRITE_SAMPLES SOURCE_FOLDER WORK_FOLDER: writes the samples and lets the outside readers check
# them. The readers are installed once into the work folder; without them (no npm, no registry) the
# test counts as skipped (77).
set -euo pipefail
writer=$1 source=$2 work=$3

mkdir -p "$work"
cp "$source/package.json" "$source/check.mjs" "$work"
cd "$work"
command -v npm >/dev/null || { echo "skipped: npm is not installed"; exit 77; }
if [ ! -d node_modules/gltf-validator ] || [ package.json -nt node_modules ]; then
    npm install --no-package-lock --no-audit --no-fund --silent ||
        { echo "skipped: the readers cannot be installed"; exit 77; }
fi
rm -rf samples
"$writer" samples
node check.mjs samples
