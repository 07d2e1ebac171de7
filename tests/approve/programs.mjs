// The tool as its users start it: a server of flows, and drivers that run them.
import {spawn} from 'node:child_process';
import {once} from 'node:events';
import {copyFileSync, mkdtempSync, rmSync} from 'node:fs';
import {tmpdir} from 'node:os';
import {dirname, join} from 'node:path';
import {createInterface} from 'node:readline';
import {fileURLToPath} from 'node:url';

const vtflow = process.env.VTFLOW;
const shipped = join(dirname(fileURLToPath(import.meta.url)),
                     '../../apps/sandbox/flows/push-approval.json');

/** Serves the push flow as it is shipped. */
export class Sandbox {
  static async start() {
    const sandbox = new Sandbox();
    sandbox.folder = mkdtempSync(join(tmpdir(), 'approve-'));
    copyFileSync(shipped, join(sandbox.folder, 'push-approval.json'));
    sandbox.process = spawn(
        vtflow, ['serve', '--json', '--flows', sandbox.folder, '--state', join(sandbox.folder, 'state')],
        {stdio: ['ignore', 'pipe', 'ignore']});
    const lines = createInterface({input: sandbox.process.stdout});
    const [ready] = await once(lines, 'line');
    Object.assign(sandbox, JSON.parse(ready));
    return sandbox;
  }

  async stop() {
    const ended = once(this.process, 'exit');
    this.process.kill('SIGTERM');
    await ended;
    rmSync(this.folder, {recursive: true, force: true});
  }
}

/** A run that has sent its push and waits for the other device. */
export class Run {
  constructor(sandbox, company) {
    this.process = spawn(
        vtflow,
        ['drive', '--company', company, '--flow', 'push-approval', '--base-url', sandbox.baseURL,
         '--ca', sandbox.authority],
        {stdio: ['pipe', 'pipe', 'inherit']});
    this.exited = once(this.process, 'exit');
    this.events = [];
    createInterface({input: this.process.stdout}).on('line', (line) => {
      this.events.push(JSON.parse(line));
    });
    this.process.stdin.end(
        '{"do":"input","key":"username","text":"alice@acme.example"}\n{"do":"press"}\n');
  }

  /** How the run ended: the driver's exit status and the flow's result. */
  async end() {
    const [exit] = await this.exited;
    return {exit, ...this.events.find(({event}) => event === 'result')};
  }

  quit() {
    this.process.kill('SIGKILL');
    return this.exited;
  }
}
