import { useEffect, useRef } from "preact/hooks";
import { helpShown, shortcuts } from "../keyboard";
import { Icon } from "./icons";

export function HelpDialog() {
  const dialog = useRef<HTMLDialogElement>(null);
  const shown = helpShown.value;
  useEffect(() => {
    if (shown) dialog.current?.showModal();
    else dialog.current?.close();
  }, [shown]);
  const hide = () => {
    helpShown.value = false;
  };
  return (
    // biome-ignore lint/a11y/useKeyWithClickEvents: Escape and the button close it too
    <dialog
      ref={dialog}
      class="help"
      aria-labelledby="help-title"
      onClose={hide}
      onClick={(event) => event.target === dialog.current && hide()}
    >
      <div class="help-body">
        <header>
          <h2 id="help-title">Keyboard</h2>
          <button type="button" class="icon-button" aria-label="Close" onClick={hide}>
            <Icon name="close" />
          </button>
        </header>
        <dl>
          {shortcuts.map(({ keys, text }) => (
            <div key={text}>
              <dt>{text}</dt>
              <dd>
                {keys.map((key) => (
                  <kbd key={key}>{key}</kbd>
                ))}
              </dd>
            </div>
          ))}
        </dl>
        <p>
          Everything else goes to the shell, also <kbd>Tab</kbd> and <kbd>Ctrl</kbd> <kbd>C</kbd>.
          Right-click a terminal for its menu.
        </p>
      </div>
    </dialog>
  );
}
