// day.mjs PROGRAM TARNWELLCTL: a user's day with each official client.
import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { mkdtempSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { connectors } from './clients.mjs';

const [program, tarnwellctl] = process.argv.slice(2);

const toolNames = [
  'get_day', 'list_tasks', 'get_task', 'get_review', 'list_proposals', 'list_changes',
  'create_task', 'update_task', 'start_task', 'pause_task', 'skip_task', 'resume_task',
  'complete_task', 'generate_proposals',
];
const today = 'tarnwell://day/today';
const thisWeek = 'tarnwell://review/this-week';

// Runs the command-line tool in the same home.
function control(home, command) {
  return new Promise((resolve, reject) => {
    const child = spawn(tarnwellctl, { env: { HOME: home }, stdio: ['pipe', 'pipe', 'ignore'] });
    let reply = '';
    child.stdout.on('data', (piece) => (reply += piece));
    child.on('error', reject);
    child.on('close', () => resolve(JSON.parse(reply)));
    child.stdin.end(JSON.stringify({ version: 1, ...command }));
  });
}

async function lookAround({ client }) {
  const { tools } = await client.listTools();
  assert.deepEqual(tools.map((tool) => tool.name), toolNames);
  const { resources } = await client.listResources();
  assert.deepEqual(resources.map((resource) => resource.uri), [today, thisWeek]);
  const { resourceTemplates } = await client.listResourceTemplates();
  assert.deepEqual(resourceTemplates.map((each) => each.uriTemplate), ['tarnwell://tasks/{id}']);
  const { prompts } = await client.listPrompts();
  assert.deepEqual(prompts.map((prompt) => prompt.name), ['plan_my_day', 'weekly_review']);
  const { messages } = await client.getPrompt({ name: 'plan_my_day' });
  assert.equal(messages[0].role, 'user');
  assert.match(client.getInstructions(), /revision/);
}

async function work(connection, other) {
  const { day, revision } = await connection.call('get_day');
  assert.equal(revision, 0);
  const { task } = await connection.call('create_task', {
    revision, title: 'Call Ada', estimated_minutes: 15, priority: 'high', planned_day: day,
  });

  const conflict = await other.refusal('create_task', { revision, title: 'Write the report' });
  assert.equal(conflict.code, 'revision_conflict');
  assert.equal(conflict.revision, 1);
  assert.equal(conflict.changes_total, 1);
  assert.equal(conflict.changes[0].title, 'Call Ada');
  const corrected = await other.call('create_task', {
    revision: conflict.revision, title: 'Write the report', planned_day: day,
  });

  const list = await connection.call('list_tasks');
  assert.deepEqual(list.tasks.map((each) => each.title), ['Call Ada', 'Write the report']);
  const started = await connection.call('start_task', { revision: list.revision, task_id: task.id });
  assert.equal(started.task.status, 'active');
  assert.equal((await connection.call('get_day')).active_task.id, task.id);
  const busy = await other.refusal('start_task', {
    revision: started.revision, task_id: corrected.task.id,
  });
  assert.equal(busy.code, 'operation_failed');
  assert.equal(busy.message, 'Finish or pause the active task first.');
  const paused = await connection.call('pause_task', { revision: started.revision });
  const resumed = await connection.call('resume_task', { revision: paused.revision });
  const done = await connection.call('complete_task', {
    revision: resumed.revision, task_id: task.id,
  });
  assert.equal(done.task.status, 'completed');
  assert.equal(done.next_task_id, corrected.task.id);

  const review = await connection.call('get_review');
  assert.deepEqual(review.completed_by_priority, { high: 1 });
  const updated = await connection.call('update_task', {
    revision: review.revision, task_id: corrected.task.id, estimated_minutes: 481,
  });
  const generated = await connection.call('generate_proposals', { revision: updated.revision });
  assert.deepEqual(generated.proposals.map((each) => each.title), ['Write the report']);
  assert.deepEqual((await other.call('list_proposals')).proposals, generated.proposals);
  const changes = await connection.call('list_changes', { limit: 1 });
  assert.equal(changes.changes[0].action, 'proposals.generate');
  const { task: whole } = await connection.call('get_task', { task_id: task.id });
  assert.deepEqual(whole, done.task);
}

async function follow(home, connection) {
  const { tasks, revision } = await connection.call('list_tasks');
  const taskURI = `tarnwell://tasks/${tasks[0].id}`;
  const endToday = await connection.subscribe(today);
  const endTask = await connection.subscribe(taskURI);

  const reply = await control(home, {
    command: 'tasks.create', expectedRevision: revision, payload: { title: 'From elsewhere' },
  });
  assert.equal(reply.ok, true);
  await connection.update(today);
  assert.deepEqual(connection.updates, [], 'a task that did not change');

  await connection.call('update_task', {
    revision: reply.revision, task_id: tasks[0].id, title: 'Write the whole report',
  });
  await connection.update(taskURI);
  await connection.update(today);
  const { contents } = await connection.client.readResource({ uri: taskURI });
  assert.equal(JSON.parse(contents[0].text).task.title, 'Write the whole report');
  await endTask();
  await endToday();
}

// Every writer adds tasks, and tries again after each conflict.
async function crowd(home, connection, other) {
  const each = 10;
  const before = await connection.call('list_tasks', { status: 'all' });
  const throughServer = (writer, name) => async (title, revision) => {
    const { client } = writer;
    const args = { revision, title: `${name} ${title}` };
    const result = await client.callTool({ name: 'create_task', arguments: args });
    const answer = JSON.parse(result.content[0].text);
    return { isDone: !result.isError, code: answer.code, revision: answer.revision };
  };
  const throughTool = async (title, revision) => {
    const reply = await control(home, {
      command: 'tasks.create', expectedRevision: revision, payload: { title: `tool ${title}` },
    });
    return { isDone: reply.ok, code: reply.error?.code, revision: reply.revision };
  };
  const write = async (create) => {
    let { revision } = before;
    for (let title = 0; title < each; ) {
      const outcome = await create(title, revision);
      if (!outcome.isDone) assert.equal(outcome.code, 'revision_conflict');
      if (outcome.isDone) ++title;
      ({ revision } = outcome);
    }
  };
  await Promise.all([
    write(throughServer(connection, 'one')), write(throughServer(other, 'two')), write(throughTool),
  ]);
  const after = await connection.call('list_tasks', { status: 'all', limit: 200 });
  assert.equal(after.total, before.total + 3 * each);
  assert.equal(after.revision, before.revision + 3 * each);
  assert.equal(new Set(after.tasks.map((task) => task.title)).size, after.total);
}

for (const [name, connect] of Object.entries(connectors)) {
  const home = mkdtempSync(join(tmpdir(), 'tarnwell-mcp-'));
  const server = { command: program, env: { HOME: home } };
  try {
    const connection = await connect(server);
    const other = await connect(server);
    for (const one of [connection, other]) await lookAround(one);
    await work(connection, other);
    await follow(home, connection);
    await crowd(home, connection, other);
    await other.close();
    await connection.close();
    console.log(`${name}: ${connection.messages.length + other.messages.length} messages`);
  } finally {
    rmSync(home, { recursive: true });
  }
}
