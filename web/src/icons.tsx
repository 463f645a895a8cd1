// SPDX-License-Identifier: Apache-2.0
// Line icons, 16 by 16.
const PATHS = {
  undo: 'M6 3 2.5 6.5 6 10M3 6.5h6.5a4 4 0 0 1 0 8H6',
  redo: 'M10 3l3.5 3.5L10 10M13 6.5H6.5a4 4 0 0 0 0 8H10',
  plus: 'M8 3v10M3 8h10',
  minus: 'M3 8h10',
  fit: 'M2.5 6V2.5H6M10 2.5h3.5V6M13.5 10v3.5H10M6 13.5H2.5V10',
  close: 'M4 4l8 8M12 4l-8 8',
  down: 'M4 6.5l4 4 4-4',
  copy: 'M3 8h10M9.5 4.5 13 8l-3.5 3.5',
  trash: 'M3 4.5h10M6.5 4V2.5h3V4M4.5 4.5l.5 9h6l.5-9',
  warn: 'M8 2.5 14.5 13.5h-13zM8 6.5v3.5M8 11.600v.6',
};

export function Icon({ name }: { name: keyof typeof PATHS }) {
  return (
    <svg class="icon" viewBox="0 0 16 16" width="16" height="16" aria-hidden="true">
      <path
        d={PATHS[name]}
        fill="none"
        stroke="currentColor"
        stroke-width="1.5"
        stroke-linecap="round"
        stroke-linejoin="round"
      />
    </svg>
  );
}

interface ToolProps {
  icon: keyof typeof PATHS;
  label: string;
  title?: string;
  disabled?: boolean;
  onClick: () => void;
}

// A button with an icon alone.
export function Tool({ icon, label, title = label, disabled = false, onClick }: ToolProps) {
  return (
    <button class="icon-button" onClick={onClick} disabled={disabled} aria-label={label} title={title}>
      <Icon name={icon} />
    </button>
  );
}
