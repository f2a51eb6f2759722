// Runs one scenario script in its own Node process under a time limit: the library is a
// process-wide singleton, and whether a process ends by itself is what several tests check.
import { spawn } from 'node:child_process';
import { fileURLToPath } from 'node:url';

export const scenarioPath = (file) => fileURLToPath(new URL(`./scenarios/${file}`, import.meta.url));

export function runScenario(file, args = [], { limitMs = 20000, nodeFlags = [] } = {}) {
  return new Promise((resolve, reject) => {
    const child = spawn(process.execPath, [...nodeFlags, scenarioPath(file), ...args], {
      stdio: ['ignore', 'pipe', 'pipe'],
    });
    let stdout = '';
    let stderr = '';
    child.stdout.on('data', (chunk) => (stdout += chunk));
    child.stderr.on('data', (chunk) => (stderr += chunk));
    let timedOut = false;
    const timer = setTimeout(() => {
      timedOut = true;
      child.kill('SIGKILL');
    }, limitMs);
    child.on('error', reject);
    child.on('close', (code, signal) => {
      clearTimeout(timer);
      resolve({ code, signal, timedOut, stdout, stderr, lines: stdout.split('\n').filter(Boolean) });
    });
  });
}

// What a finished scenario looked like, for assertion messages.
export const describeRun = (run) =>
  `exit ${run.code} signal ${run.signal}${run.timedOut ? ' (killed at the time limit)' : ''}\n` +
  `stdout:\n${run.stdout}\nstderr:\n${run.stderr}`;
