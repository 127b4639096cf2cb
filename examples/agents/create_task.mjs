#!/usr/bin/env node
// create_task.mjs TITLE: adds a task to the plan unless it is there, and retries after a conflict.
// TARNWELLCTL names the tool if it is not in PATH.
import { spawnSync } from 'node:child_process';

const tool = process.env.TARNWELLCTL ?? 'tarnwellctl';

function ask(command, more = {}) {
  const input = JSON.stringify({ version: 1, command, ...more });
  // A long plan is a long reply: the default limit is 1 MiB.
  const run = spawnSync(tool, { input, encoding: 'utf8', maxBuffer: Infinity });
  // A refusal is a reply like any other; the exit status says whether there was a command at all.
  if (run.stdout) return JSON.parse(run.stdout);
  const missing = ['ENOENT', 'EACCES'].includes(run.error?.code);
  throw new Error(missing ? `${tool} is not installed or not in PATH` : `${tool} gave no reply`);
}

function create(title) {
  for (let attempt = 0; attempt < 10; ++attempt) {
    const plan = ask('tasks.list');
    if (!plan.ok) throw new Error(plan.error.message);
    // Decide on the plan as it is now: another program may have added the task.
    if (plan.result.some((task) => task.title === title)) return `${title} is in the plan`;
    const reply = ask('tasks.create', { expectedRevision: plan.revision, payload: { title } });
    if (reply.ok) return `${title} was added, revision ${reply.revision}`;
    if (reply.error.code !== 'revision_conflict') throw new Error(reply.error.message);
  }
  throw new Error('the plan keeps changing');
}

try {
  if (process.argv.length !== 3) throw new Error('usage: create_task.mjs TITLE');
  console.log(create(process.argv[2]));
} catch (problem) {
  console.error(problem.message);
  process.exitCode = 1;
}
