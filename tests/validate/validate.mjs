// Runs the official validator over glTF files: node validate.mjs FILE...
// Ends with 1 when any file has an error or a warning.

import { readFile } from 'node:fs/promises';
import { dirname, join } from 'node:path';
import { pathToFileURL } from 'node:url';
import validator from 'gltf-validator';

const severities = ['error', 'warning', 'information', 'hint'];

// The messages of a file that are errors or warnings, a line each.
export async function faultsOf(path) {
  const report = await validator.validateBytes(new Uint8Array(await readFile(path)), {
    uri: path,
    maxIssues: 1000,
    externalResourceFunction: async (uri) =>
      new Uint8Array(await readFile(join(dirname(path), decodeURIComponent(uri)))),
  });
  return report.issues.messages
    .filter((message) => message.severity < 2)
    .map((message) => `${severities[message.severity]} ${message.code} at ` +
      `${message.pointer ?? message.offset}: ${message.message}`);
}

if (import.meta.url === pathToFileURL(process.argv[1]).href) {
  const files = process.argv.slice(2);
  if (files.length === 0) {
    console.error('usage: node validate.mjs FILE...');
    process.exit(2);
  }
  for (const file of files) {
    const faults = await faultsOf(file).catch((error) => [error.message]);
    console.log(`${file}: ${faults.length === 0 ? 'valid' : `${faults.length} faults`}`);
    faults.forEach((fault) => console.log(`  ${fault}`));
    process.exitCode ||= faults.length === 0 ? 0 : 1;
  }
}
