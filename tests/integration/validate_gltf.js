// Prints what the format's validator finds in glTF files: validate_gltf.js FILE... One JSON object a line, with the file,
// the counts of each severity and the first messages.
'use strict';

const fs = require('fs');
const validator = require('gltf-validator');

async function main() {
  for (const file of process.argv.slice(2)) {
    const report = await validator.validateBytes(new Uint8Array(fs.readFileSync(file)), { maxIssues: 20 });
    const { numErrors, numWarnings, numInfos, numHints, messages } = report.issues;
    console.log(JSON.stringify({ file, numErrors, numWarnings, numInfos, numHints, messages, info: report.info }));
  }
}

main();
