#!/usr/bin/env bash
# run.sh WRITE_SAMPLES SOURCE_FOLDER WORK_FOLDER: writes the samples and lets the outside reader check it.
# The reader is installed once into the work folder.
set -euo pipefail
writer=$1 source=$2 work=$3

mkdir -p "$work"
cp "$source/package.json" "$source/check.mjs" "$work"
cd "$work"
if [ ! -d node_modules/tinyusdz ] || [ package.json -nt node_modules ]; then
    npm install --no-package-lock --no-audit --no-fund --silent
fi
rm -rf samples
"$writer" samples
node check.mjs samples
