#!/usr/bin/env node
// create_task.mjs TITLE: adds a task to the plan, however often others change the plan meanwhile.
// TARNWELLCTL names the tool if it is not in the search path.
import { spawnSync } from 'node:child_process';

const tool = process.env.TARNWELLCTL ?? 'tarnwellctl';

function ask(command, more = {}) {
  const input = JSON.stringify({ version: 1, command, ...more });
  // The exit status says whether there was a command at all; a refusal is a reply like any other.
  return JSON.parse(spawnSync(tool, { input, encoding: 'utf8' }).stdout);
}

function create(title) {
  for (let attempt = 0; attempt < 10; ++attempt) {
    const plan = ask('tasks.list');
    if (!plan.ok) throw new Error(plan.error.message);
    // Decide on what the plan says now: somebody may have added the task already.
    if (plan.result.some((task) => task.title === title)) return `${title} is in the plan`;
    const reply = ask('tasks.create', { expectedRevision: plan.revision, payload: { title } });
    if (reply.ok) return `${title} was added, revision ${reply.revision}`;
    if (reply.error.code !== 'revision_conflict') throw new Error(reply.error.message);
  }
  throw new Error('the plan changes all the time');
}

try {
  console.log(create(process.argv[2]));
} catch (problem) {
  console.error(problem.message);
  process.exitCode = 1;
}
