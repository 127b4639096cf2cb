// The official clients, each as it negotiates, with every message checked against the protocol's
// schema.
import assert from 'node:assert/strict';
import { Client as LegacyClient } from '@modelcontextprotocol/sdk/client/index.js';
import { StdioClientTransport as LegacyTransport } from '@modelcontextprotocol/sdk/client/stdio.js';
import * as legacySchemas from '@modelcontextprotocol/sdk/types.js';
import { Client } from '@modelcontextprotocol/client';
import { StdioClientTransport } from '@modelcontextprotocol/client/stdio';
import * as schemas from '@modelcontextprotocol/core/internal';

const info = { name: 'tarnwell-tests', version: '1' };

const resultSchemaNames = {
  'server/discover': 'DiscoverResultSchema',
  initialize: 'InitializeResultSchema',
  'tools/list': 'ListToolsResultSchema',
  'tools/call': 'CallToolResultSchema',
  'resources/list': 'ListResourcesResultSchema',
  'resources/templates/list': 'ListResourceTemplatesResultSchema',
  'resources/read': 'ReadResourceResultSchema',
  'resources/subscribe': 'EmptyResultSchema',
  'resources/unsubscribe': 'EmptyResultSchema',
  'prompts/list': 'ListPromptsResultSchema',
  'prompts/get': 'GetPromptResultSchema',
};
const notificationSchemaNames = {
  'notifications/resources/updated': 'ResourceUpdatedNotificationSchema',
  'notifications/subscriptions/acknowledged': 'SubscriptionsAcknowledgedNotificationSchema',
};

// Checks a message of the server against the schema of its kind; a result by the method asked for.
function checkMessage(message, method, schemasOfEra) {
  schemasOfEra.JSONRPCMessageSchema.parse(message);
  if (message.error !== undefined) return;
  const isResult = message.result !== undefined;
  const name = isResult ? resultSchemaNames[method] : notificationSchemaNames[message.method];
  assert.ok(name, `no schema is known for ${method ?? message.method}`);
  schemasOfEra[name].parse(isResult ? message.result : message);
}

// Checks what passes through a transport.
function check(transport, schemasOfEra, messages) {
  const methods = new Map();
  const send = transport.send.bind(transport);
  transport.send = (message, ...rest) => {
    if (message.id !== undefined) methods.set(message.id, message.method);
    return send(message, ...rest);
  };
  const start = transport.start.bind(transport);
  transport.start = () => {
    const deliver = transport.onmessage;
    transport.onmessage = (message, ...rest) => {
      messages.push(message);
      try {
        checkMessage(message, methods.get(message.id), schemasOfEra);
      } catch (error) {
        // A client only reports errors of its transport, and would wait for the message.
        console.error(message, error);
        process.exit(1);
      }
      deliver(message, ...rest);
    };
    return start();
  };
  return transport;
}

// A connected client. `era` is the one that it must negotiate.
class Connection {
  constructor(client, isModern) {
    this.client = client;
    this.isModern = isModern;
    this.messages = [];
    this.updates = [];
    this.waiting = [];
  }

  noteUpdate(uri) {
    this.updates.push(uri);
    for (const wake of this.waiting.splice(0)) wake();
  }

  // Waits until a resource has been reported.
  async update(uri) {
    while (!this.updates.includes(uri)) await new Promise((wake) => this.waiting.push(wake));
    this.updates.splice(this.updates.indexOf(uri), 1);
  }

  // The result of a tool that must succeed.
  async call(name, args = {}) {
    const result = await this.client.callTool({ name, arguments: args });
    assert.ok(!result.isError, `${name}: ${result.content[0]?.text}`);
    assert.deepEqual(JSON.parse(result.content[0].text), result.structuredContent);
    return result.structuredContent;
  }

  // The report of a tool that must refuse.
  async refusal(name, args = {}) {
    const result = await this.client.callTool({ name, arguments: args });
    assert.equal(result.isError, true, name);
    assert.equal(result.structuredContent, undefined);
    assert.equal(result.content.length, 1);
    return JSON.parse(result.content[0].text);
  }

  // Returns a function that ends the subscription.
  async subscribe(uri) {
    if (this.isModern) {
      const subscription = await this.client.listen({ resourceSubscriptions: [uri] });
      assert.deepEqual(subscription.honoredFilter.resourceSubscriptions, [uri]);
      return () => subscription.close();
    }
    await this.client.subscribeResource({ uri });
    return () => this.client.unsubscribeResource({ uri });
  }

  close() {
    return this.client.close();
  }
}

async function connectLegacy(server) {
  const connection = new Connection(new LegacyClient(info), false);
  connection.client.setNotificationHandler(
    legacySchemas.ResourceUpdatedNotificationSchema,
    ({ params }) => connection.noteUpdate(params.uri));
  const transport = check(new LegacyTransport(server), legacySchemas, connection.messages);
  await connection.client.connect(transport);
  assert.equal(transport._negotiatedProtocolVersion ?? '2025-11-25', '2025-11-25');
  return connection;
}

function connectWith(mode, version) {
  return async (server) => {
    const client = new Client(info, { versionNegotiation: { mode } });
    const connection = new Connection(client, version === '2026-07-28');
    client.setNotificationHandler('notifications/resources/updated', ({ params }) =>
      connection.noteUpdate(params.uri));
    await client.connect(check(new StdioClientTransport(server), schemas, connection.messages));
    assert.equal(client.getNegotiatedProtocolVersion(), version);
    return connection;
  };
}

export const connectors = {
  'sdk 1.x': connectLegacy,
  'client 2.x, legacy': connectWith('legacy', '2025-11-25'),
  'client 2.x, auto': connectWith('auto', '2026-07-28'),
  'client 2.x, pinned': connectWith({ pin: '2026-07-28' }, '2026-07-28'),
};
