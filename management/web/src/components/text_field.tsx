import type { Signal } from "@preact/signals";
import type { Ref } from "preact";

interface Props {
  label: string;
  /** What is written in it, both ways. */
  text: Signal<string>;
  placeholder?: string;
  id?: string;
  class?: string;
  /** Takes little room. */
  narrow?: boolean;
  numeric?: boolean;
  inputRef?: Ref<HTMLInputElement>;
}

/** A labelled line of text that a signal holds. */
export function TextField({ label, text, placeholder = "", ...more }: Props) {
  return (
    <label class={more.narrow ? "field narrow" : "field"}>
      <span>{label}</span>
      <input
        ref={more.inputRef ?? null}
        id={more.id}
        class={more.class}
        autocomplete="off"
        inputMode={more.numeric ? "numeric" : "text"}
        spellcheck={false}
        placeholder={placeholder}
        value={text.value}
        onInput={(event) => {
          text.value = event.currentTarget.value;
        }}
      />
    </label>
  );
}
