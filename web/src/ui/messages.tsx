import type { Message } from '../run/models';

const words = { error: 'Error', warning: 'Warning', note: 'Note' };

export function Messages({ messages }: { messages: Message[] }) {
  const order = { error: 0, warning: 1, note: 2 };
  const sorted = [...messages].sort((a, b) => order[a.kind] - order[b.kind]);
  return (
    <ul class="messages" role="log" aria-label="Messages of the run" tabIndex={0}>
      {sorted.map(({ kind, text }, i) => (
        <li key={i} class={kind}>
          <strong>{words[kind]}</strong> {text}
        </li>
      ))}
    </ul>
  );
}
