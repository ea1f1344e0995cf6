import { drawerShown } from "../keyboard";
import { Icon } from "./icons";

/** Brings the list of machines into a window too narrow for both. */
export function DrawerButton() {
  return (
    <button
      type="button"
      class="icon-button drawer-button"
      aria-label="Machines"
      aria-expanded={drawerShown.value}
      onClick={() => {
        drawerShown.value = true;
      }}
    >
      <Icon name="menu" />
    </button>
  );
}
